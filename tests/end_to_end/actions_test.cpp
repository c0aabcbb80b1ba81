// Both actions, from the request to the panel and to the buzzer's marker.
#include "tests/end_to_end/devices.h"

namespace {

class Actions : public test::EndToEndWithDevices {
protected:
    std::string action(const std::string& name) { return requestObject({{"Action", name}}); }
};

TEST_F(Actions, TurnOffLcdDarkensThePanelAndReturnsNoData) {
    ASSERT_FALSE(isBlank());
    const std::string request = action("WebGUI.TurnOffLCD");
    EXPECT_EQ(ask("00000", request), (test::Answer{"Success", {}}));
    EXPECT_TRUE(isBlank());
    EXPECT_EQ(field(request, "HasRespData"), "No");
    EXPECT_EQ(field(request, "NewObjID"), "(nil)");
    EXPECT_EQ(eventCount(), 0);
}

TEST_F(Actions, TurnOffLcdLeavesThePanelLitWhileAnAlertIsShown) {
    sql("UPDATE webgui_tbl SET HasAlert = 'YES'");
    EXPECT_EQ(ask("00000", action("WebGUI.TurnOffLCD")), (test::Answer{"Success", {}}));
    EXPECT_FALSE(isBlank());
    sql("UPDATE webgui_tbl SET HasAlert = 'NO'");
    EXPECT_EQ(ask("00000", action("WebGUI.TurnOffLCD")), (test::Answer{"Success", {}}));
    EXPECT_TRUE(isBlank());
}

TEST_F(Actions, GuiReadyRemovesTheBuzzersMarker) {
    const std::filesystem::path marker = temporary("buzzer.silence");
    test::writeFile(marker, "");
    const std::string request = action("WebGUI.GUIReady");
    EXPECT_EQ(ask("00000", request), (test::Answer{"Success", {}}));
    EXPECT_FALSE(std::filesystem::exists(marker));
    EXPECT_EQ(field(request, "HasRespData"), "No");
}

TEST_F(Actions, GuiReadyIsAnsweredSuccessWithoutAMarkerToo) {
    EXPECT_EQ(ask("00000", action("WebGUI.GUIReady")), (test::Answer{"Success", {}}));
}

} // namespace
