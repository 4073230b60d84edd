// The property store: the build.prop format and bionic's reader semantics.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/system_properties.h>

#include <string>

#include "TestSupport.h"
#include "orvex/properties.h"

namespace {

using orvex::properties::ParseBuildProp;
using Props = std::map<std::string, std::string>;

std::string Read(const char* name, bool* found = nullptr) {
    const prop_info* pi = __system_property_find(name);
    if (found) *found = pi != nullptr;
    std::string value = "<none>";
    if (pi != nullptr) {
        __system_property_read_callback(
            pi,
            [](void* cookie, const char*, const char* v, uint32_t) {
                *static_cast<std::string*>(cookie) = v;
            },
            &value);
    }
    return value;
}

TEST(BuildProp, ParsesTheDeviceFormat) {
    struct Case {
        std::string text;
        Props props;
    } cases[] = {
        {"a=1\nb=2\n", {{"a", "1"}, {"b", "2"}}},
        {"# comment=x\n\n  \na=1", {{"a", "1"}}},
        {"a= spaced value \n", {{"a", " spaced value "}}},
        {"a=\n", {{"a", ""}}},
        {"a=b=c\n", {{"a", "b=c"}}},
        {"a=1\na=2\n", {{"a", "2"}}},
        {"noequals\n=novalue\nx=1\r\n", {{"x", "1"}}},
        {"", {}},
        {" #notcomment=1\n", {{" #notcomment", "1"}}},
        {std::string("a\0b=1\nc=2\0\nd=3\n", 15), {{"d", "3"}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ParseBuildProp(c.text), c.props) << c.text;
    }
}

class PropertyStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* old = getenv("ORVEX_DEVICE_ROOT");
        oldRoot_ = old ? old : "";
        setenv("ORVEX_DEVICE_ROOT", root_.path().c_str(), 1);
    }
    void TearDown() override {
        setenv("ORVEX_DEVICE_ROOT", oldRoot_.c_str(), 1);
        orvex::properties::Reload();
    }
    orvex::test::DeviceRoot root_;
    std::string oldRoot_;
};

TEST_F(PropertyStoreTest, LoadsBuildPropFromTheDeviceRoot) {
    root_.AddFile("/system/build.prop",
                  "ro.product.cpu.abi=arm64-v8a\n# ro.hidden=1\nro.empty=\nro.lead= x\n");
    orvex::properties::Reload();
    bool found = false;
    EXPECT_EQ(Read("ro.product.cpu.abi"), "arm64-v8a");
    EXPECT_EQ(Read("ro.empty", &found), "");
    EXPECT_TRUE(found);
    EXPECT_EQ(Read("ro.lead"), " x");
    EXPECT_EQ(Read("ro.hidden", &found), "<none>");
    EXPECT_FALSE(found);

    char value[PROP_VALUE_MAX];
    EXPECT_EQ(__system_property_get("ro.product.cpu.abi", value), 9);
    EXPECT_STREQ(value, "arm64-v8a");
    EXPECT_EQ(__system_property_get("ro.absent", value), 0);
    EXPECT_STREQ(value, "");
}

TEST_F(PropertyStoreTest, ChangesKeepFoundPointersValid) {
    orvex::properties::Clear();
    orvex::properties::Set("sim.value", "one");
    const prop_info* pi = __system_property_find("sim.value");
    ASSERT_NE(pi, nullptr);
    orvex::properties::Set("sim.value", "two");
    EXPECT_EQ(__system_property_find("sim.value"), pi);
    EXPECT_EQ(Read("sim.value"), "two");
    orvex::properties::Erase("sim.value");
    EXPECT_EQ(__system_property_find("sim.value"), nullptr);
    orvex::properties::Set("sim.value", "three");
    EXPECT_EQ(__system_property_find("sim.value"), pi);
    EXPECT_EQ(orvex::properties::Snapshot(), (Props{{"sim.value", "three"}}));
}

TEST_F(PropertyStoreTest, UnreadableLinesAreSkipped) {
    std::string text = "good=1\n";
    text += std::string("bin\0ary=2\n", 10);
    text += "\xff\xfe=3\nlast=4";
    root_.AddFile("/system/build.prop", text);
    orvex::properties::Reload();
    EXPECT_EQ(Read("good"), "1");
    EXPECT_EQ(Read("last"), "4");
}

}  // namespace
