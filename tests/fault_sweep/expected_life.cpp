// Start-up and shutdown, followed call by call. Written independently of the daemon's sources.
#include "tests/fault_sweep/expected_life.h"

#include <array>
#include <cstdint>
#include <sstream>

namespace fault_sweep {

namespace {

using doubles::Fault;
using doubles::Shape;

constexpr int kMarkerAttempts = 6;

std::string instance(int number) {
    return "80000000-0000-0000-0000-00800000000" + std::to_string(number);
}

// The tree, by the numbers of its instances.
enum Instance { kWebGUI, kActions, kOem, kTurnOffLCD, kGUIReady };

struct Leaf {
    Instance number;
    const char* name;  // as in the function names
    const char* field; // of the Actions document
    int fieldCount;
};
constexpr std::array<Leaf, 3> kLeaves = {{
    {kOem, "Oem", "Oem", 1},
    {kTurnOffLCD, "TurnOffLCD", "#WebGUI.TurnOffLCD", 3},
    {kGUIReady, "GUIReady", "#WebGUI.GUIReady", 2},
}};

std::string leafFunction(const Leaf& leaf, const char* verb) {
    return std::string("OrvaneWebGUI_Actions_") + leaf.name + verb;
}

class ExpectedLife {
public:
    ExpectedLife(const Life& life, const RecordedRun& run, const void* binding)
        : life_(life), replay_(run), settings_(replay_, {.hasAlert = life.hasAlert},
                                               life.course != Course::wholeLife, life.hasThemeRow),
          binding_(binding) {}

    std::string follow() {
        if (life_.course == Course::wholeLife) {
            main();
        } else if (life_.course == Course::deletion) {
            deleteTree(instance(kWebGUI), collection_);
        } else {
            cleanByStore();
        }
        if (connected_) {
            replay_.take("osselRedisDisconnect");
        }
        replay_.take("~ovrBindCAPIToOssel");
        replay_.take("~ovrComSupport");
        replay_.end();
        return answers_;
    }

private:
    // --- main, step by step ---

    void main() {
        construct();
        replay_.take("open", {"/var/database/CoolingUnitManagingMode.txt"});
        lookUpSchemaType();
        replay_.line("OrvaneWebGUI", "The typeId is " + schemaType_ + ".");
        if (!loadDefinitions()) {
            return;
        }
        registerWithHost();
        if (!init()) {
            return;
        }
        for (int i = 0; i < kMarkerAttempts && !replay_.done("open", {"/tmp/run/Stidre.run"});
             ++i) {
            replay_.take("sleep");
        }
        replay_.take("ovrThreadWaitForExit");
        // An update needs its database; a read goes by what is in memory.
        answers_ = settings_.now().ready ? "Success Success " : "Success InternalError ";
        cleanCreated();
    }

    void construct() {
        connected_ = replay_.done("osselRedisConnect");
        std::ostringstream line;
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): shown as a number
        line << "Constructed ovrPlugin with " << std::hex
             << reinterpret_cast<std::uintptr_t>(binding_);
        replay_.plainLine(line.str());
    }

    void lookUpSchemaType() {
        schemaType_.clear();
        collection_.clear();
        const Fault id = replay_.take("olGetSchemaTypeIdByField", {"OsselSchemaInstances", "title",
                                                                   "#OrvaneWebGUI.1.0.0.WebGUI"});
        if (id.shape == Shape::refused) {
            replay_.plainLine("Failed to get the schema typeId.");
            return;
        }
        schemaType_ = id ? "" : "schema-type";
        const Fault key = replay_.take("olObjGetProperty", {schemaType_, "instanceCollection"});
        if (key.shape == Shape::refused) {
            replay_.plainLine("Failed to get the instance collection key.");
            return;
        }
        collection_ = key ? "" : "collection";
    }

    // Reads a field of a definition; empty without a connection or a key, and after a failure.
    std::string definition(const std::string& key, const std::string& field,
                           const std::string& value) {
        const bool asked = connected_ && !key.empty();
        return asked && replay_.done("osselGetHashField", {key, field}) ? value : "";
    }

    bool loadDefinitions() {
        const std::string definitions = definition(schemaType_, "definitions", "definitions");
        const std::string webGUI = definition(definitions, "WebGUI", "webgui-type");
        const std::string actions = definition(webGUI, "Actions", "actions-type");
        bool complete = !actions.empty();
        for (const Leaf& leaf : kLeaves) {
            complete = !definition(actions, leaf.field, "type").empty() && complete;
        }
        return complete;
    }

    void registerWithHost() {
        for (int i = 0; i < 3; ++i) {
            replay_.take("ovrAddRunningThread", {"OrvaneWebGUI"});
        }
        replay_.take("ovrcbIdSet", {schemaType_});
        replay_.take("ovrRedisContextSet");
        replay_.take("ovrHookFnSet");
        replay_.take("ovrHookFnRedisRegister", {"OrvaneWebGUI"});
    }

    // --- Building the tree ---

    bool init() {
        settings_.construct();
        if (!allocated()) {
            deleteCollection();
            return false;
        }
        settings_.getTheme();
        if (!createTree()) {
            replay_.line("OrvaneWebGUI_Init", "Failed to call WebGUIPlugin_CreateInstance().");
            deleteCollection();
            return false;
        }
        if (!renewWorkTree()) {
            replay_.line("OrvaneWebGUI_Init", "Failed to call OrvaneWebGUI_renewAdd().");
            deleteInstance(instance(kWebGUI), "");
            deleteCollection();
            return false;
        }
        return true;
    }

    // The daemon decides how many there are; one failure is enough.
    bool allocated() {
        bool all = replay_.done("calloc");
        while (replay_.isNext("calloc")) {
            all = replay_.done("calloc") && all;
        }
        return all;
    }

    bool createTree() {
        const std::string name = "OrvaneWebGUI_Init_Create";
        if (!createActions()) {
            replay_.line(name, "Failed to call OrvaneWebGUI_Actions_Init_Create().");
            return false;
        }
        if (!createInstance(instance(kWebGUI), 20, true, collection_)) {
            replay_.line(name, "Failed to call createInstance().");
            deleteActions(instance(kActions));
            return false;
        }
        return true;
    }

    bool createActions() {
        const std::string name = "OrvaneWebGUI_Actions_Init_Create";
        for (const Leaf& leaf : kLeaves) {
            if (!createLeaf(leaf)) {
                replay_.line(name, "Failed to call " + leafFunction(leaf, "_Init_Create") + "().");
                if (leaf.number != kOem) {
                    deleteLeaf(kLeaves[0], instance(kOem)); // and TurnOffLCD stays
                }
                replay_.line(name, "Failed to call OrvaneWebGUI_TurnOffLCD_CreateInstance().");
                return false;
            }
        }
        if (!createInstance(instance(kActions), 4, false, "")) {
            replay_.line(name, "Failed to call createInstance().");
            for (const Leaf& leaf : kLeaves) {
                deleteLeaf(leaf, instance(leaf.number));
            }
            return false;
        }
        return true;
    }

    bool createLeaf(const Leaf& leaf) {
        if (!createInstance(instance(leaf.number), leaf.fieldCount, false, "")) {
            replay_.line(leafFunction(leaf, "_Init_Create"), "Failed to call createInstance().");
            return false;
        }
        return true;
    }

    bool createInstance(const std::string& uuid, int count, bool fresh,
                        const std::string& collection) {
        const std::string name = "createInstance";
        if (!replay_.done("osselCreateHashTable", {uuid})) {
            replay_.line(name, "Failed to call osselCreateHashTable( " + uuid + ", ..., " +
                                   hexadecimal(count) + " ).");
            return false;
        }
        if (fresh && !replay_.done("osselHashAppendTTLObject", {uuid})) {
            replay_.line(name, "Failed to call osselHashAppendTTLObject( " + uuid + ", 1 ).");
            deleteInstance(uuid, "");
            return false;
        }
        if (collection.empty() || replay_.done("osselListRightPush", {collection, uuid}) ||
            replay_.done("osselSADD", {collection, uuid})) {
            return true;
        }
        replay_.line(name, "Failed to call osselSADD( " + collection + ", " + uuid + " ).");
        deleteInstance(uuid, "");
        return false;
    }

    bool renewWorkTree() {
        const std::string name = "renewWorkTree";
        if (!replay_.done("osselGenerateUUID")) {
            replay_.line(name, "Failed to call osselGenerateUUID().");
            return false;
        }
        const bool made = replay_.done("osselCreateSetTable");
        const std::string set = replay_.lastText();
        if (!made) {
            replay_.line(name, "Failed to call osselCreateSetTable( " + set + ", ..., 1 ).");
            return false;
        }
        if (replay_.done("osselRenewCollection", {schemaType_, set})) {
            return true;
        }
        replay_.line(name,
                     "Failed to call osselRenewCollection( " + schemaType_ + ", " + set + " ).");
        if (!replay_.done("osselDeleteHash", {set})) {
            replay_.line(name, "Failed to call osselDeleteHash( " + set + " ).");
        }
        return false;
    }

    // --- Taking it down ---

    void cleanCreated() {
        const bool hasSet = replay_.done("calloc");
        deleteTree(instance(kWebGUI), "");
        deleteCollection();
        if (hasSet) {
            renewWorkTree();
        } else {
            replay_.line("renewWorkTree", "Invalid parameters: instSet is NULL or count(1) is 0.");
        }
        settings_.close();
    }

    void cleanByStore() {
        const Fault fault = replay_.take("osselSMembers", {collection_});
        if (fault.shape == Shape::refused) {
            replay_.line("OrvaneWebGUI_Clean",
                         "Failed to call osselSMembers( " + collection_ + " ).");
            deleteCollection();
            return;
        }
        const bool empty = fault || life_.course == Course::cleanEmptyStore;
        if (!empty) {
            deleteTree(instance(kWebGUI), "");
        }
        deleteCollection();
        if (!empty) {
            renewWorkTree();
        }
    }

    void deleteTree(const std::string& uuid, const std::string& collection) {
        const std::string name = "OrvaneWebGUI_Delete";
        const Fault fault = replay_.take("osselGetHashField", {uuid, "Actions"});
        if (fault.shape == Shape::refused) {
            replay_.line(name, "Failed to call osselGetHashField().");
        } else if (!deleteActions(fault ? "" : instance(kActions))) {
            replay_.line(name, "Failed to call OrvaneWebGUI_Actions_Delete().");
        }
        if (!deleteInstance(uuid, collection)) {
            replay_.line(name, "Failed to call deleteInstance().");
        }
    }

    bool deleteActions(const std::string& uuid) {
        const std::string name = "OrvaneWebGUI_Actions_Delete";
        for (const Leaf& leaf : kLeaves) {
            const Fault fault = replay_.take("osselGetHashField", {uuid, leaf.field});
            if (fault.shape == Shape::refused) {
                replay_.line(name, "Failed to call osselGetHashField().");
            } else if (!deleteLeaf(leaf, fault ? "" : instance(leaf.number))) {
                replay_.line(name, "Failed to call " + leafFunction(leaf, "_Delete") + "().");
            }
        }
        if (!deleteInstance(uuid, "")) {
            replay_.line(name, "Failed to call deleteInstance().");
            return false;
        }
        return true;
    }

    bool deleteLeaf(const Leaf& leaf, const std::string& uuid) {
        if (!deleteInstance(uuid, "")) {
            replay_.line(leafFunction(leaf, "_Delete"), "Failed to call deleteInstance().");
            return false;
        }
        return true;
    }

    bool deleteInstance(const std::string& uuid, const std::string& collection) {
        const std::string name = "deleteInstance";
        if (uuid.empty()) {
            replay_.line(name, "The instance UUID is empty.");
            return false;
        }
        bool done = replay_.done("osselDeleteHash", {uuid});
        if (!done) {
            replay_.line(name, "Failed to call osselDeleteHash( " + uuid + " ).");
        }
        if (collection.empty() || replay_.done("osselLREM", {collection, uuid})) {
            return done;
        }
        if (!replay_.done("osselRemoveInstanceFromSet", {collection, uuid})) {
            replay_.line(name, "Failed to call osselRemoveInstanceFromSet( " + collection + ", " +
                                   uuid + " ).");
            done = false;
        }
        return done;
    }

    void deleteCollection() {
        if (!replay_.done("osselDeleteHash", {collection_})) {
            replay_.line("deleteInstanceCollection",
                         "Failed to call osselDeleteHash( " + collection_ + " ).");
            replay_.line("OrvaneWebGUI_DeleteInstanceCollection",
                         "Failed to call deleteInstanceCollection().");
        }
    }

    const Life& life_;
    Replay replay_;
    ExpectedSettings settings_;
    const void* binding_;
    bool connected_ = true;
    std::string answers_; // of the requests during the wait
    std::string schemaType_ = "schema-type";
    std::string collection_ = "collection";
};

} // namespace

std::string followLife(const Life& life, const RecordedRun& run, const void* binding) {
    return ExpectedLife(life, run, binding).follow();
}

} // namespace fault_sweep
