// The UUIDs that a process generates from its start on. A program of its own, since nothing resets
// the counter.
#include "tests/store/tree_test.h"

namespace {

using testing::ElementsAre;

class FirstTree : public store_test::StoreTest {};

TEST_F(FirstTree, CountsFrom000AndRepeatsFromThe1000thOn) {
    const std::string base = "80000000-0000-0000-0000-008000000";
    ASSERT_EQ(OrvaneWebGUI_Init(doubles::context()), 1);
    EXPECT_THAT(G_InstanceKeys, ElementsAre(base + "000"));
    EXPECT_EQ(doubles::field(base + "000", "Actions"), base + "001");
    EXPECT_EQ(doubles::field(base + "001", "Oem"), base + "002");
    EXPECT_EQ(doubles::field(base + "001", "#WebGUI.TurnOffLCD"), base + "003");
    EXPECT_EQ(doubles::field(base + "001", "#WebGUI.GUIReady"), base + "004");
    EXPECT_EQ(doubles::hashes().size(), 5U);

    // The index has no effect.
    EXPECT_EQ(generateInstanceUUID(42), base + "005");
    EXPECT_EQ(generateInstanceUUID(42), base + "006");
    for (int number = 7; number < 999; ++number) {
        generateInstanceUUID(0);
    }
    EXPECT_EQ(generateInstanceUUID(0), base + "999");
    EXPECT_EQ(generateInstanceUUID(0), base + "100");
    EXPECT_EQ(generateInstanceUUID(0), base + "100");
}

} // namespace
