// The handlers: which value goes to which setting, and in which order.
#include "agent/handler_tables.h"

#include "agent/webgui_agent.h"
#include "log_line.h"
#include "platform/cooling.h"
#include "process_state.h"
#include "requests/return_messages.h"
#include "text.h"

#include <cstring>
#include <mutex>
#include <unistd.h>

std::int32_t G_ManagingMode = kUnknownManagingMode;

namespace {

constexpr std::int32_t kScaleManagedHere = 0;
constexpr char kMeasurementSystemField[] = "MeasurementSystem";
constexpr char kImperial[] = "Imperial";
constexpr char kMetric[] = "Metric";
constexpr char kBuzzerSilenceMarker[] = "/tmp/buzzer.silence";

// Positions in kDisplayNames.
enum DisplayValue {
    kScreenBrightness,
    kBacklightOff,
    kActiveAlarmScreensaver,
    kInactivityTimer,
    kMeasurementSystem,
    kDateFormat,
    kTimeFormat,
    kRoomAverage,
    kHiLoPeriod,
    kTheme,
    kEventUserName,
    kDisplayValueCount
};
static_assert(std::size(kDisplayNames) == kDisplayValueCount, "a name without a position");

// Serialises the handlers, which share the settings and the record of the last query. A read locks
// it only to change the settings; a read without a change therefore never waits out an update's
// pauses. A read with one may have asked the unit just before an update changed the scale; the
// settings then keep the older text until the next read.
std::mutex handlerMutex;

int fail(ReturnMessage* answer) {
    setReturnMessage(answer, "InternalError", 0);
    return 1;
}

// Returns the agent, or null after logging the failure and setting the answer.
WebGUIAgent* agentOrFailure(const char* handler, ReturnMessage* answer) {
    if (G_WebGUIAgent == nullptr) {
        logLine(handler, "G_WebGUIAgent is NULL.");
        fail(answer);
    }
    return G_WebGUIAgent;
}

// The common end of every update.
int writeSettings(const char* handler, WebGUIAgent* agent, ReturnMessage* answer) {
    if (agent->updateData(0) == 0) {
        logLine(handler, "Failed to call WebGUIAgent.updateData().");
        return fail(answer);
    }
    return 0;
}

void changeMeasurementSystem(WebGUIAgent* agent, const char* value, const char* user) {
    // Meant: compared with the setting, not with the unit.
    if (agent->getMeasurementSystem() == value) {
        return;
    }
    agent->setMeasurementSystem(value);
    if (G_ManagingMode == kScaleManagedHere) {
        const int scale = std::strcmp(value, kImperial) == 0 ? 0 : 1;
        CoolSetTempScale(0, scale, user, 0);
    }
}

// Meant: this order, and an empty value is a value.
void applyDisplayValues(WebGUIAgent* agent, const FieldValuePair* values) {
    agent->setBacklightOff(values[kBacklightOff].value);
    agent->setScreenBrightness(parseDecimal(values[kScreenBrightness].value));
    agent->setActiveAlarmScreensaver(values[kActiveAlarmScreensaver].value);
    agent->setInactivityTimer(values[kInactivityTimer].value);
    changeMeasurementSystem(agent, values[kMeasurementSystem].value, values[kEventUserName].value);
    agent->setDateFormat(values[kDateFormat].value);
    agent->setTimeFormat(values[kTimeFormat].value);
    agent->setRoomAverage(isTrueText(values[kRoomAverage].value));
    agent->setHiLoPeriod(values[kHiLoPeriod].value);
    agent->setTheme(values[kTheme].value);
}

// The unit's temperature scale as a text. A unit that does not answer counts as metric.
const char* unitMeasurementSystem() {
    int scale = 1;
    char scratch[1024] = {};
    CoolGetTempScale(0, &scale, 0, scratch);
    return scale == 0 ? kImperial : kMetric;
}

} // namespace

int OrvaneWebGUI_Agent_UPDATE_00001(redisContext* context, std::string objectKey, ReturnMessage*,
                                    bool* clearETag) {
    *clearETag = false;
    if (G_ManagingMode != kScaleManagedHere) {
        return 0;
    }
    const char* text = unitMeasurementSystem();
    if (osselIsFieldMatched(context, objectKey.c_str(), kMeasurementSystemField, text) != 0) {
        return 0;
    }
    FieldValuePair field;
    copyBounded(field.name, kMeasurementSystemField);
    copyBounded(field.value, text);
    if (const int code = osselCreateHashTable(context, objectKey.c_str(), &field, 1); code != 0) {
        return code;
    }
    *clearETag = true;
    const std::lock_guard lock(handlerMutex);
    if (G_WebGUIAgent != nullptr) {
        G_WebGUIAgent->setMeasurementSystem(text);
        G_WebGUIAgent->updateData(0);
    }
    return 0;
}

int OrvaneWebGUI_Agent_UPDATE_00002(redisContext*, std::string, FieldValuePair** values, int*,
                                    ReturnMessage* answer) {
    constexpr char kHandler[] = "OrvaneWebGUI_Agent_UPDATE_00002";
    const std::lock_guard lock(handlerMutex);
    WebGUIAgent* agent = agentOrFailure(kHandler, answer);
    if (agent == nullptr) {
        return 1;
    }
    agent->setLanguage((*values)[0].value);
    return writeSettings(kHandler, agent, answer);
}

int OrvaneWebGUI_Agent_UPDATE_00003(redisContext*, std::string, FieldValuePair** values, int*,
                                    ReturnMessage* answer) {
    constexpr char kHandler[] = "OrvaneWebGUI_Agent_UPDATE_00003";
    const std::lock_guard lock(handlerMutex);
    WebGUIAgent* agent = agentOrFailure(kHandler, answer);
    if (agent == nullptr) {
        return 1;
    }
    applyDisplayValues(agent, *values);
    return writeSettings(kHandler, agent, answer);
}

int OrvaneWebGUI_Agent_UPDATE_00004(redisContext*, std::string, FieldValuePair** values, int*,
                                    ReturnMessage* answer) {
    constexpr char kHandler[] = "OrvaneWebGUI_Agent_UPDATE_00004";
    const std::lock_guard lock(handlerMutex);
    WebGUIAgent* agent = agentOrFailure(kHandler, answer);
    if (agent == nullptr) {
        return 1;
    }
    agent->setInitialBoot(isTrueText((*values)[0].value));
    return writeSettings(kHandler, agent, answer);
}

int OrvaneWebGUI_Agent_ACTION_TurnOffLCD(redisContext*, std::string, FieldValuePair*,
                                         ReturnMessage* answer, std::string*) {
    const std::lock_guard lock(handlerMutex);
    WebGUIAgent* agent = agentOrFailure("OrvaneWebGUI_Agent_ACTION_TurnOffLCD", answer);
    if (agent == nullptr) {
        return 1;
    }
    agent->turnOffLCD();
    return 0;
}

int OrvaneWebGUI_Agent_ACTION_GUIReady(redisContext*, std::string, FieldValuePair*, ReturnMessage*,
                                       std::string*) {
    const std::lock_guard lock(handlerMutex);
    // A missing marker is fine: the buzzer is not silenced.
    ::unlink(kBuzzerSilenceMarker);
    return 0;
}
