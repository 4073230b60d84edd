// The objects of the imager client library (libimagerclient.so) as this library sees them: a
// closed library whose objects are reached by vtable position only. The placeholders hold the
// positions of operations this library never calls.
#pragma once

#include <string>

// Marks the functions that call into the library's objects through the classes below. Their
// dynamic types are the library's own, which a sanitizer's check of the dynamic type by name
// cannot match; the calls themselves are sound by position.
#define IMAGER_CLIENT_CALLS __attribute__((no_sanitize("vptr")))

// The imager: the interface type is its fifteenth virtual operation, the identifier its
// sixteenth.
class IImagerClientImager {
public:
    virtual void Reserved1() = 0;
    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;
    virtual void Reserved4() = 0;
    virtual void Reserved5() = 0;
    virtual void Reserved6() = 0;
    virtual void Reserved7() = 0;
    virtual void Reserved8() = 0;
    virtual void Reserved9() = 0;
    virtual void Reserved10() = 0;
    virtual void Reserved11() = 0;
    virtual void Reserved12() = 0;
    virtual void Reserved13() = 0;
    virtual void Reserved14() = 0;
    virtual int GetInterfaceType() = 0;
    virtual std::string GetImagerID() = 0;

protected:
    // Owned by its provider; never deleted here.
    ~IImagerClientImager() = default;
};

// The provider: its destructor takes the first two slots (the second deletes), the third
// returns the imager it owns.
class IImagerClientProvider {
public:
    virtual ~IImagerClientProvider() = default;
    virtual IImagerClientImager* GetImager() = 0;
};

// The library's one entry point, called as GetImagerModule(1, "ImagerProvider"). It hands out
// its provider as an opaque pointer.
typedef void* (*GetImagerModuleFunc)(int kind, const char* name);

// Receives the library's entry point; only its first field is used.
struct _imager_module_info {
    GetImagerModuleFunc GetImagerModule;
};
