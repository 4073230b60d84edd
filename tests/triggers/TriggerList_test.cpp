// The list callers get trigger keys in, and one trigger entry: the cursor's walk, writes through
// it, removal and clearing, and that the list never deletes what its elements point to.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OdkList.h"
#include "TriggerInfo.h"

namespace {

using IntList = odk::List<int*>;

std::vector<int> Walk(IntList& list) {
    std::vector<int> seen;
    for (list.begin(); list.hasNext(); list.movenext()) seen.push_back(*list.get());
    return seen;
}

TEST(TriggerList, TheCursorWalksInInsertionOrderAndStopsOnTheEnd) {
    int values[] = {1, 2, 3};
    IntList list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(0u, list.size());
    list.begin();
    EXPECT_FALSE(list.hasNext());

    for (int& v : values) list.push_back(&v);
    EXPECT_FALSE(list.empty());
    EXPECT_EQ(3u, list.size());
    EXPECT_EQ(&values[0], list.begin());
    EXPECT_EQ((std::vector<int>{1, 2, 3}), Walk(list));
    // hasNext tells whether the cursor is on an element; it does not look ahead.
    list.begin();
    list.movenext();
    list.movenext();
    EXPECT_TRUE(list.hasNext());
    EXPECT_EQ(&values[2], list.get());
    list.movenext();
    EXPECT_FALSE(list.hasNext());
}

TEST(TriggerList, ElementsAreWritableThroughTheCursor) {
    int a = 1;
    int b = 2;
    IntList list;
    list.push_back(&a);
    list.push_back(&a);
    list.begin();
    list.movenext();
    list.get() = &b;
    list.begin() = nullptr;
    list.begin();
    EXPECT_EQ(nullptr, list.get());
    list.movenext();
    EXPECT_EQ(&b, list.get());
}

TEST(TriggerList, RemoveTakesTheCursorsNodeAndIterationRestartsWithBegin) {
    struct Case {
        size_t position;
        std::vector<int> after;
    };
    const std::vector<Case> cases = {{0, {2, 3}}, {1, {1, 3}}, {2, {1, 2}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.position);
        int values[] = {1, 2, 3};
        IntList list;
        for (int& v : values) list.push_back(&v);
        list.begin();
        for (size_t i = 0; i < c.position; ++i) list.movenext();
        list.remove();
        EXPECT_EQ(2u, list.size());
        EXPECT_EQ(c.after, Walk(list));
        // What the element pointed to is untouched.
        EXPECT_EQ(c.position + 1, static_cast<size_t>(values[c.position]));
    }
    // Past the end there is no node to take.
    int v = 7;
    IntList list;
    list.push_back(&v);
    list.begin();
    list.movenext();
    list.remove();
    EXPECT_EQ(1u, list.size());
    list.begin();
    list.remove();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(std::vector<int>{}, Walk(list));
}

TEST(TriggerList, ClearEmptiesTheListAndTheListCanBeFilledAgain) {
    int values[] = {1, 2};
    IntList list;
    for (int& v : values) list.push_back(&v);
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(0u, list.size());
    EXPECT_EQ(std::vector<int>{}, Walk(list));
    list.push_back(&values[1]);
    EXPECT_EQ(std::vector<int>{2}, Walk(list));
    // Destroying a list with nodes frees them; ASan reports a leak otherwise.
}

TEST(TriggerList, EntriesStartEmptyAndCopyTheirTexts) {
    TriggerInfo fresh;
    EXPECT_EQ(-1, fresh.GetScanCode());
    EXPECT_STREQ("", fresh.GetFriendlyName());
    EXPECT_STREQ("", fresh.GetScannerResource());
    EXPECT_FALSE(fresh.IsMultiScannerSupported());

    std::string name = "Trigger Left";
    std::string resource = "TRIGGER_LEFT";
    TriggerInfo info(0x2D6, name.c_str(), resource.c_str(), true);
    name.assign("changed");
    resource.assign("changed");
    EXPECT_EQ(726, info.GetScanCode());
    EXPECT_STREQ("Trigger Left", info.GetFriendlyName());
    EXPECT_STREQ("TRIGGER_LEFT", info.GetScannerResource());
    EXPECT_TRUE(info.IsMultiScannerSupported());

    odk::ITriggerInfo& entry = info;
    entry.SetScanCode(5);
    entry.SetFriendlyName(name.c_str());
    entry.SetScannerResource(nullptr);
    entry.SetMultiScannerSupport(false);
    name.assign("again");
    EXPECT_EQ(5, entry.GetScanCode());
    EXPECT_STREQ("changed", entry.GetFriendlyName());
    EXPECT_STREQ("", entry.GetScannerResource());
    EXPECT_FALSE(entry.IsMultiScannerSupported());
}

}  // namespace
