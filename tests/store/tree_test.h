// The base of the tests of the resource tree: the next tree's UUIDs, and the store calls that write
// and delete its instances.
#pragma once

#include "store/resource_documents.h"
#include "store/resource_tree.h"
#include "tests/store/store_test.h"

#include <string>
#include <vector>

namespace store_test {

using Calls = std::vector<std::string>;

inline Calls joined(Calls first, const Calls& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline std::string deleteCall(const std::string& key) {
    return call("osselDeleteHash", quoted(key));
}
inline std::string fieldCall(const std::string& key, const std::string& field) {
    return call("osselGetHashField", quoted(key) + ", " + quoted(field));
}

// A log line of a tree operation.
inline std::string failedTo(const std::string& function, const std::string& callee) {
    return '[' + function + "]: Failed to call " + callee + "().\n";
}

class TreeTest : public StoreTest {
protected:
    // Generates one UUID to learn the counter's state.
    TreeTest() {
        const std::string last = generateInstanceUUID(0);
        first_ = std::stoi(last.substr(33)) + 1;
    }
    ~TreeTest() override { freeResourceDocuments(); }

public:
    TreeTest(const TreeTest&) = delete;
    TreeTest& operator=(const TreeTest&) = delete;

protected:
    std::string webGUI() const { return instanceUuid(first_); }
    std::string actions() const { return instanceUuid(first_ + 1); }
    std::string oem() const { return instanceUuid(first_ + 2); }
    std::string turnOffLCD() const { return instanceUuid(first_ + 3); }
    std::string guiReady() const { return instanceUuid(first_ + 4); }

    static std::string hashCall(const std::string& uuid, const std::string& fields, int count) {
        return call("osselCreateHashTable",
                    quoted(uuid) + ", [" + fields + "], " + std::to_string(count));
    }
    std::string oemHash() const { return hashCall(oem(), "typeID=", 1); }
    std::string turnOffLCDHash() const {
        return hashCall(turnOffLCD(),
                        "title=This action is used to turn off the LCD., target=, "
                        "typeID=turnofflcd-type",
                        3);
    }
    std::string guiReadyHash() const {
        return hashCall(guiReady(), "target=, typeID=guiready-type", 2);
    }
    std::string actionsHash() const {
        return hashCall(actions(),
                        "Oem=" + oem() + ", typeID=actions-type, #WebGUI.TurnOffLCD=" +
                            turnOffLCD() + ", #WebGUI.GUIReady=" + guiReady(),
                        4);
    }
    std::string webGUIHash() const {
        return hashCall(webGUI(),
                        "@odata.context=, @odata.id=, @odata.type=, "
                        "ActiveAlarmScreensaver=Enabled, BacklightOff=Never, "
                        "DateFormat=YYYY-MM-DD, Id=, InactivityTimer=5 Minutes, "
                        "InitialBoot=false, Language=English, MeasurementSystem=Metric, "
                        "Name=Zolan CMS Web GUI Settings, ScreenBrightness=5, TimeFormat=24, "
                        "RoomAverage=true, HiLoPeriod=24 Hours, Theme=dark, Actions=" +
                            actions() + ", typeId=schema-type, typeID=webgui-type",
                        20);
    }

    // The calls that write the tree, without those of the work tree.
    Calls treeCalls() const {
        return {oemHash(),
                turnOffLCDHash(),
                guiReadyHash(),
                actionsHash(),
                webGUIHash(),
                call("osselHashAppendTTLObject", quoted(webGUI()) + ", 1"),
                call("osselListRightPush", "\"collection\", " + quoted(webGUI()))};
    }
    // The calls that delete the Actions instance and its children.
    Calls actionsRemovalCalls() const {
        return {fieldCall(actions(), "Oem"),
                deleteCall(oem()),
                fieldCall(actions(), "#WebGUI.TurnOffLCD"),
                deleteCall(turnOffLCD()),
                fieldCall(actions(), "#WebGUI.GUIReady"),
                deleteCall(guiReady()),
                deleteCall(actions())};
    }
    static Calls renewCalls(int mode, const std::string& member, int nthUuid = 1) {
        const std::string set = quoted(doubles::uuid(nthUuid));
        return {"osselGenerateUUID(ctx)",
                call("osselCreateSetTable", set + ", {" + quoted(member) + "}, 1"),
                call("osselRenewCollection",
                     std::to_string(mode) + ", \"schema-type\", " + set + ", 0")};
    }

    int first_ = 0;
};

} // namespace store_test
