// See devices.h. The devices' own behaviour is tested with their libraries.
#include "tests/end_to_end/devices.h"

#include <X11/Xlib.h>
#include <X11/extensions/scrnsaver.h>
#include <regex>
#include <sstream>
#include <unistd.h>

namespace test {

namespace {

// The register as mbpoll addresses it; docs/devices.md has the unit's map.
constexpr const char* kStation = "1";
constexpr const char* kScaleRegister = "101"; // counted from 1

std::string firstGroup(const std::string& text, const std::regex& pattern) {
    std::smatch match;
    return std::regex_search(text, match, pattern) ? match[1].str() : "nothing in: " + text;
}

// A display of this process's own, far above the lowest free one, which a server of another test
// would take while ours is down, and above those of other test programs (x_server.cpp).
std::string ownDisplay() {
    constexpr int kFirst = 50200;
    constexpr int kNumbers = 9000;
    return ":" + std::to_string(kFirst + ::getpid() % kNumbers);
}

} // namespace

void EndToEndWithDevices::SetUp() {
    makeBacklight();
    startXServer();
    startCoolingUnit();
    startDaemon();
}

void EndToEndWithDevices::makeBacklight() {
    const std::string directory = folder().file("backlight");
    std::filesystem::create_directory(directory);
    writeFile(directory + "/max_brightness", std::to_string(7 * kStepsPerLevel) + "\n");
    writeFile(directory + "/brightness", "0\n");
    environment()["LCD_BACKLIGHT"] = directory;
}

void EndToEndWithDevices::startXServer() {
    if (display_.empty()) {
        display_ = ownDisplay();
    }
    StackPart part("x-server", deviceValues());
    part.prepare();
    xServer_ = part.launch({display_}, {}, folder().file("x.out"), folder().file("x.err"));
    ASSERT_TRUE(part.waitUntilUp(*xServer_)) << readFile(folder().file("x.err"));
    environment()["DISPLAY"] = display_;
}

void EndToEndWithDevices::startCoolingUnit() {
    StackPart part("cooling-unit", deviceValues());
    part.prepare();
    coolingUnit_ = part.launch({}, {}, folder().file("unit.out"), folder().file("unit.err"));
    ASSERT_TRUE(part.waitUntilUp(*coolingUnit_)) << readFile(folder().file("unit.err"));
    listen_ = part.address();
    environment()["COOLING_UNIT"] = listen_;
}

// After a restart the unit is where it was.
StackValues EndToEndWithDevices::deviceValues() const {
    return {{"run", {folder().path()}}, {"listen", {listen_}}};
}

std::string EndToEndWithDevices::backlight() const {
    std::istringstream text(readFile(folder().path() / "backlight" / "brightness"));
    std::string number;
    text >> number;
    return number;
}

Finished EndToEndWithDevices::xset(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{"xset"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return run(words, {{"DISPLAY", display_}});
}

std::string EndToEndWithDevices::blankTimeOut() const {
    return firstGroup(xset({"q"}).output, std::regex("timeout: +([0-9]+)"));
}

bool EndToEndWithDevices::isBlank() const {
    const std::unique_ptr<Display, int (*)(Display*)> display(XOpenDisplay(display_.c_str()),
                                                              XCloseDisplay);
    const std::unique_ptr<XScreenSaverInfo, int (*)(void*)> info(XScreenSaverAllocInfo(), XFree);
    if (!display ||
        XScreenSaverQueryInfo(display.get(), DefaultRootWindow(display.get()), info.get()) == 0) {
        ADD_FAILURE() << "the X server does not tell the state of its screen saver";
        return false;
    }
    return info->state == ScreenSaverOn;
}

void EndToEndWithDevices::loseThePanelsState() const {
    writeFile(folder().path() / "backlight" / "brightness", "0\n");
    EXPECT_EQ(xset({"s", "600"}).status, 0);
    ASSERT_EQ(blankTimeOut(), "600");
}

// One register, once, over TCP.
Finished EndToEndWithDevices::mbpoll(const std::vector<std::string>& arguments) const {
    const std::string port = listen_.substr(listen_.find(':') + 1);
    std::vector<std::string> words{"mbpoll", "-m",           "tcp", "-p", port, "-a", kStation,
                                   "-r",     kScaleRegister, "-t",  "4",  "-1", "-q", "127.0.0.1"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return run(words);
}

std::string EndToEndWithDevices::temperatureScale() const {
    return firstGroup(mbpoll({}).output, std::regex("\\[[0-9]+\\]:\\s+([0-9]+)"));
}

void EndToEndWithDevices::setTemperatureScale(const std::string& scale) const {
    const Finished finished = mbpoll({"--", scale});
    EXPECT_EQ(finished.status, 0) << finished.output << finished.error;
    ASSERT_EQ(temperatureScale(), scale);
}

int EndToEndWithDevices::eventCount() {
    return std::stoi(redis().command({"XLEN", "Events:Zolan Event"}));
}

std::string EndToEndWithDevices::lastEvent() {
    const std::string entry =
        redis().command({"XREVRANGE", "Events:Zolan Event", "+", "-", "COUNT", "1"});
    return entry.substr(entry.find(' ') + 1);
}

} // namespace test
