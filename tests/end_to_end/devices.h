// The daemon with its devices: a backlight laid out like sysfs, an X server and a cooling unit,
// each read back with somebody else's program.
#pragma once

#include "tests/end_to_end/end_to_end.h"

#include <memory>
#include <string>

namespace test {

class EndToEndWithDevices : public EndToEnd {
protected:
    using EndToEnd::EndToEnd;

    // Starts the devices and then the daemon.
    void SetUp() override;

    // The content of the backlight's file, and the steps per level.
    static constexpr int kStepsPerLevel = 100;
    std::string backlight() const;

    // Idle time of the X server's screen saver, as xset shows it.
    std::string blankTimeOut() const;
    bool isBlank() const;
    // Restarts the X server, as after a power cut of the panel.
    void loseThePanelsState() const;

    // The cooling unit's register as mbpoll reads it: "0" or "1".
    std::string temperatureScale() const;
    void setTemperatureScale(const std::string& scale) const;

    // The event stream: its length, and the fields of its last entry, name and value in turn.
    int eventCount();
    std::string lastEvent();

    ChildProcess& xServer() { return *xServer_; }
    ChildProcess& coolingUnit() { return *coolingUnit_; }

    // Starts it again on the same address.
    void startXServer();
    void startCoolingUnit();

private:
    void makeBacklight();
    StackValues deviceValues() const;
    Finished xset(const std::vector<std::string>& arguments) const;
    Finished mbpoll(const std::vector<std::string>& arguments) const;

    std::unique_ptr<ChildProcess> xServer_;
    std::unique_ptr<ChildProcess> coolingUnit_;
    std::string display_;
    std::string listen_ = "127.0.0.1:0"; // of the cooling unit
};

} // namespace test
