// One request, followed call by call. Written independently of the daemon's sources.
#include "tests/fault_sweep/expected_requests.h"

#include <array>
#include <cstdlib>

namespace fault_sweep {

namespace {

using doubles::Fault;
using doubles::Shape;

// The property counts of the updates.
const std::map<std::string, int>& propertyCounts() {
    static const auto* const counts =
        new std::map<std::string, int>{{"00002", 1}, {"00003", 11}, {"00004", 1}};
    return *counts;
}

const char* bodyOf(fnTypes worker) {
    switch (worker) {
    case fnCreate:
        return "OrvaneWebGUI_CreateObject";
    case fnRead:
        return "OrvaneWebGUI_ReadObject";
    case fnUpdate:
        return "OrvaneWebGUI_UpdateObject";
    }
    return "";
}

// The answer that the requester must get.
struct Answer {
    std::string id = "Success";
    Texts arguments = {};
};

class ExpectedRequest {
public:
    ExpectedRequest(const Request& request, const RecordedRun& run)
        : request_(request), replay_(run),
          settings_(replay_, {.hasAlert = request.hasAlert}, true, request.hasThemeRow) {}

    void follow() {
        if (request_.road == Road::creation) {
            dispatch();
        } else if (request_.road == Road::queue) {
            worker();
        } else {
            hook();
        }
        replay_.end();
    }

private:
    // --- Answering ---

    // Fills the answer; without memory it loses its texts.
    void set(Answer answer) {
        bool complete = replay_.done("calloc") || answer.arguments.empty();
        for (std::size_t i = 0; complete && i < answer.arguments.size(); ++i) {
            complete = replay_.done("calloc");
        }
        if (!complete) {
            answer.arguments.clear();
        }
        answer_ = answer;
    }

    // Sends it. Unless `function` is empty, a failure is also logged under that name.
    void send(const std::string& function) {
        if (!isSent() && !function.empty()) {
            replay_.line(function, "Failed to call sendReturnMsg().");
        }
    }

    bool isSent() {
        if (!replay_.done("osselGenerateUUID")) {
            replay_.line("sendReturnMsg", "Failed to call osselGenerateUUID().");
            replay_.line("sendReturnMsg",
                         "Failed to call osselCreateReturnMessage( , " + answer_.id + " ).");
            return false;
        }
        const bool created = replay_.done("osselCreateReturnMessage");
        const std::string uuid = replay_.lastText();
        Texts texts{uuid, answer_.id};
        texts.insert(texts.end(), answer_.arguments.begin(), answer_.arguments.end());
        replay_.sameTexts(texts);
        if (!created) {
            replay_.line("sendReturnMsg", "Failed to call osselCreateReturnMessage( " + uuid +
                                              ", " + answer_.id + " ).");
            return false;
        }
        if (!replay_.done("osselPublishToChannel", {kChannel, uuid})) {
            replay_.line("sendReturnMsg", "Failed to call osselPublishToChannel( " +
                                              std::string(kChannel) + ", " + uuid + " ).");
            return false;
        }
        return true;
    }

    // --- The road to the handler ---

    void hook() {
        const std::string& id = request_.msgId;
        if (id == "00000" || id == "00001" || propertyCounts().contains(id)) {
            replay_.take("ovrThreadInstructionPost", {id, request_.reqArg, kChannel});
            worker();
            return;
        }
        replay_.line("OrvaneWebGUI_OVRHookFunction", "The msgId is invalid: " + id + ".");
        set({"ActionNotSupported", {id}});
        send("OrvaneWebGUI_OVRHookFunction");
    }

    void worker() {
        if (!replay_.done("osselRedisConnect")) {
            replay_.line(bodyOf(request_.worker), "Failed to call osselRedisConnect().");
            return; // the worker is gone, and the request with it
        }
        replay_.take("ovrThreadInstructionPost");
        if (request_.worker == fnRead) {
            readObject();
        } else if (request_.worker == fnUpdate) {
            updateObject();
        } else {
            dispatch();
        }
        replay_.take("ovrThreadInstructionPost"); // the next take ends the worker
        replay_.take("osselRedisDisconnect");
    }

    void readObject() {
        if (request_.msgId != "00001") {
            set({"ActionNotSupported", {request_.msgId}});
            send("readObject");
            return;
        }
        if (request_.reqArg != kInstance) {
            set({"InvalidObject", {request_.reqArg}});
        } else {
            read();
        }
        send("read");
    }

    void updateObject() {
        if (!propertyCounts().contains(request_.msgId)) {
            set({"ActionNotSupported", {request_.msgId}});
            send(""); // the only one without a line of its own
            return;
        }
        update();
        send("update");
    }

    void dispatch() {
        if (request_.msgId == "00000") {
            actionObject();
        } else if (request_.road == Road::creation) {
            create();
            send("create");
        } else {
            replay_.line("createObject", "Unsupported message id: " + request_.msgId + ".");
            set({"ActionNotSupported", {request_.msgId}});
            send("createObjectOrActionObject");
        }
    }

    void actionObject() {
        const Fault fault = replay_.take("osselGetHashField", {request_.reqArg, "Action"});
        if (fault.shape == Shape::refused) {
            replay_.line("actionObject", "Failed to call osselGetHashField().");
            set({"InternalError"});
            send("createObjectOrActionObject");
            return;
        }
        const std::string name = fault ? "" : field("Action").substr(0, 255);
        if (name != "WebGUI.TurnOffLCD" && name != "WebGUI.GUIReady") {
            replay_.line("actionObject", "Unsupported action: " + name + ".");
            set({"ActionNotSupported", {name}});
            send("createObjectOrActionObject");
            return;
        }
        action(name);
        send("action");
    }

    // --- The four ways to serve ---

    void read() {
        bool changed = false;
        if (request_.managingMode == 0 && !refresh(&changed)) {
            replay_.line("read", "Failed to call fnAgentRead().");
            return;
        }
        if (replay_.done("osselHashAppendTTLObject", {kInstance})) {
            set({"Success"});
        } else {
            replay_.line("read", "Failed to call osselHashAppendTTLObject( " +
                                     std::string(kInstance) + ", 1 ).");
            set({"InternalError"});
        }
        if (changed && !replay_.done("osselClearETagCache", {kInstance})) {
            replay_.line("read",
                         "Failed to call osselClearETagCache(" + std::string(kInstance) + ").");
        }
    }

    // In this sweep the unit is imperial wherever it differs from the instance.
    bool refresh(bool* changed) {
        const bool answered = replay_.done("CoolGetTempScale");
        const std::string scale = answered && !request_.instanceMatchesUnit ? "Imperial" : "Metric";
        if (replay_.done("osselIsFieldMatched", {kInstance, "MeasurementSystem", scale})) {
            return true;
        }
        if (!replay_.done("osselCreateHashTable", {kInstance})) {
            return false;
        }
        *changed = true;
        if (request_.hasAgent) {
            settings_.now().measurementSystem = scale;
            settings_.updateData();
        }
        return true;
    }

    void update() {
        const int count = propertyCounts().at(request_.msgId);
        if (!inputData(count)) {
            replay_.line("update", "Failed to call getUpdateProperties().");
            return;
        }
        if (field("OriginalObjID") != kInstance) {
            set({"InvalidObject", {request_.reqArg}});
            return;
        }
        if (!applyValues()) {
            replay_.line("update", "Failed to call fnAgentUpdate().");
            return;
        }
        if (!updateInstance(count)) {
            replay_.line("update", "Failed to call updateInstance().");
            set({"InternalError"});
            return;
        }
        set({"Success"});
        if (!replay_.done("osselCreateEventObject", {"Zolan Event"})) {
            replay_.line("WebGUI_RedfishSendBackendUpdatedEvent", "Send Redfish SSE event failed.");
        }
    }

    void create() {
        const int count = propertyCounts().at(request_.msgId);
        if (!inputData(count)) {
            replay_.line("create", "Failed to call getCreateProperties().");
            return;
        }
        if (!applyValues()) {
            replay_.line("create", "Failed to call fnAgentCreate().");
            return;
        }
        if (!createInstance(count)) {
            replay_.line("create", "Failed to call createInstance().");
            set({"InternalError"});
            return;
        }
        set({"Success"});
    }

    void action(const std::string& name) {
        if (!inputData(0)) {
            replay_.line("action", "Failed to call getActionParameters().");
            return;
        }
        if (field("OriginalObjID") != kInstance) {
            set({"InvalidObject", {request_.reqArg}});
            return;
        }
        if (name == "WebGUI.GUIReady") {
            replay_.take("unlink", {"/tmp/buzzer.silence"});
        } else if (!hasAgent("OrvaneWebGUI_Agent_ACTION_TurnOffLCD")) {
            replay_.line("action", "Failed to call fnAgentAction().");
            return;
        } else if (!settings_.hasAlert()) {
            replay_.take("LCDBlank");
        }
        if (!replay_.done("osselCreateHashTable", {request_.reqArg})) {
            replay_.line("handleActionRespData",
                         "Failed to call osselCreateHashTable( " + request_.reqArg + ", ..., 1 ).");
            replay_.line("action", "Failed to call handleActionRespData().");
            set({"InternalError"});
            return;
        }
        set({"Success"});
    }

    // --- Steps that they share ---

    bool inputData(int count) {
        const Fault fault = replay_.take("osselHashGetAll", {request_.reqArg});
        if (fault) {
            replay_.line("getInputData", "Failed to call osselHashGetAll( " + request_.reqArg +
                                             " ). uiCount is " +
                                             (fault.shape == Shape::nullArray ? "1" : "0") + ".");
            set({"InvalidObject", {request_.reqArg}});
            return false;
        }
        if (count > 0 && !replay_.done("calloc")) {
            replay_.line("getInputData", "Failed to call malloc() for *data.");
            set({"InternalError"});
            return false;
        }
        return true;
    }

    bool hasAgent(const std::string& handler) {
        if (!request_.hasAgent) {
            replay_.line(handler, "G_WebGUIAgent is NULL.");
            set({"InternalError"});
        }
        return request_.hasAgent;
    }

    // The handler of the message id.
    bool applyValues() {
        const std::string handler = "OrvaneWebGUI_Agent_UPDATE_" + request_.msgId;
        if (!hasAgent(handler)) {
            return false;
        }
        if (request_.msgId == "00003") {
            applyDisplayValues();
        }
        if (!settings_.updateData()) {
            replay_.line(handler, "Failed to call WebGUIAgent.updateData().");
            set({"InternalError"});
            return false;
        }
        return true;
    }

    void applyDisplayValues() {
        settings_.setBacklightOff(field("BacklightOff"));
        // The sweep's numbers are in range; anything else counts as 0.
        settings_.setScreenBrightness(
            static_cast<int>(std::strtol(field("ScreenBrightness").c_str(), nullptr, 10)));
        if (field("MeasurementSystem") != settings_.now().measurementSystem &&
            request_.managingMode == 0) {
            replay_.take("CoolSetTempScale", {field("EventUserName")});
        }
        settings_.setTheme(field("Theme"));
    }

    bool updateInstance(int count) {
        const std::string key = kInstance;
        if (!replay_.done("osselCreateHashTable", {key})) {
            replay_.line("updateInstance", "Failed to call osselCreateHashTable( " + key +
                                               ", ..., " + hexadecimal(count) + " ).");
            return false;
        }
        if (!replay_.done("osselHashAppendTTLObject", {key})) {
            replay_.line("updateInstance",
                         "Failed to call osselHashAppendTTLObject( " + key + ", 1 ).");
        }
        if (!replay_.done("osselClearETagCache", {key})) {
            replay_.line("updateInstance", "Failed to call osselClearETagCache(" + key + ").");
            return false;
        }
        return true;
    }

    bool createInstance(int count) {
        const std::string key = field("OriginalObjID");
        if (!replay_.done("osselCreateHashTable", {key})) {
            replay_.line("createInstance", "Failed to call osselCreateHashTable( " + key +
                                               ", ..., " + hexadecimal(count) + " ).");
            return false;
        }
        if (!replay_.done("osselHashAppendTTLObject", {key})) {
            replay_.line("createInstance",
                         "Failed to call osselHashAppendTTLObject( " + key + ", 1 ).");
            deleteHash(key);
            return false;
        }
        if (replay_.done("osselListRightPush", {kCollection, key}) ||
            replay_.done("osselSADD", {kCollection, key})) {
            return true;
        }
        replay_.line("createInstance",
                     "Failed to call osselSADD( " + std::string(kCollection) + ", " + key + " ).");
        deleteHash(key);
        return false;
    }

    void deleteHash(const std::string& key) {
        if (!replay_.done("osselDeleteHash", {key})) {
            replay_.line("deleteInstance", "Failed to call osselDeleteHash( " + key + " ).");
        }
    }

    std::string field(const std::string& name) const {
        const auto found = request_.fields.find(name);
        return found == request_.fields.end() ? std::string() : found->second;
    }

    const Request& request_;
    Replay replay_;
    ExpectedSettings settings_;
    Answer answer_;
};

} // namespace

void followRequest(const Request& request, const RecordedRun& run) {
    ExpectedRequest(request, run).follow();
}

} // namespace fault_sweep
