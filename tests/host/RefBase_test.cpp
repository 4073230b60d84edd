// Strong and weak references and the string types of the host libutils.

#include <gtest/gtest.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <thread>
#include <vector>

namespace {

using android::RefBase;
using android::sp;
using android::String16;
using android::String8;
using android::wp;

struct Tracked : public RefBase {
    explicit Tracked(std::vector<std::string>* events) : events(events) {}
    ~Tracked() override { events->push_back("destroyed"); }
    void onFirstRef() override { events->push_back("first"); }
    void onLastStrongRef(const void*) override { events->push_back("last"); }
    std::vector<std::string>* events;
};

TEST(RefBase, ObjectDiesWithItsLastStrongReferenceWhileWeakOnesRemain) {
    std::vector<std::string> events;
    wp<Tracked> weak;
    {
        sp<Tracked> strong = sp<Tracked>::make(&events);
        sp<Tracked> copy = strong;
        weak = strong;
        EXPECT_EQ(strong->getStrongCount(), 2);
        EXPECT_EQ(weak.promote(), strong);
    }
    EXPECT_EQ(events, (std::vector<std::string>{"first", "last", "destroyed"}));
    EXPECT_EQ(weak.promote(), nullptr);
}

TEST(RefBase, PromotionRacesWithTheLastReleaseSafely) {
    for (int round = 0; round < 200; ++round) {
        std::vector<std::string> events;
        sp<Tracked> strong = sp<Tracked>::make(&events);
        wp<Tracked> weak = strong;
        std::thread releaser([&] { strong.clear(); });
        sp<Tracked> promoted = weak.promote();
        releaser.join();
        // Either the promotion won and holds the object, or it lost and got nothing.
        if (promoted != nullptr) {
            EXPECT_EQ(events.size(), 1u);
            promoted.clear();
        }
        EXPECT_EQ(events.back(), "destroyed");
    }
}

TEST(String, ConvertsBetweenUtf8AndUtf16) {
    struct Case {
        const char* utf8;
        std::u16string utf16;
    } cases[] = {
        {"", u""},
        {"android.media.IAudioService", u"android.media.IAudioService"},
        {"caf\xc3\xa9", u"caf\u00e9"},
        {"\xe2\x82\xac", u"\u20ac"},
        {"\xf0\x9f\x98\x80", u"\U0001F600"},
    };
    for (const Case& c : cases) {
        String16 s(c.utf8);
        EXPECT_EQ(std::u16string(s.c_str(), s.size()), c.utf16);
        EXPECT_EQ(String8(s), String8(c.utf8));
    }
    EXPECT_EQ(String8::format("%s-%d", "a", 7), String8("a-7"));
}

}  // namespace
