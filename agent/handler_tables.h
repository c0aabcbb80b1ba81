// The three constant tables that map requests to handlers, and the handlers.
//
// A handler runs on the worker thread of its kind, with that thread's connection. One mutex lets
// one handler run at a time; a read takes it only to change the settings. A failed update or action
// sets the answer, which the caller sends.
#pragma once

#include "handler_entries.h"

#include <cstdint>
#include <iterator>

// Neither of the known managing modes, 0 and 1.
inline constexpr std::int32_t kUnknownManagingMode = 2;

// How the cooling unit is managed. Its temperature scale is read and written only while this is 0.
// Unknown until `main` sets it, before it registers any worker; `main` turns unknown into 0.
extern std::int32_t G_ManagingMode;

// "00001", a read: in managing mode 0, copies the cooling unit's scale to the instance's
// MeasurementSystem and, if there is an agent, to the settings.
//   clearETag   set if the instance has changed
//   result      0 done; otherwise the code of osselCreateHashTable
int OrvaneWebGUI_Agent_UPDATE_00001(redisContext* context, std::string objectKey,
                                    ReturnMessage* answer, bool* clearETag);

// Updates: apply the values to the settings, the panel and the unit, then write the database row. A
// refused value is logged but does not fail the request. A missing agent does, and so does a failed
// write, which leaves the values applied.
int OrvaneWebGUI_Agent_UPDATE_00002(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);
int OrvaneWebGUI_Agent_UPDATE_00003(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);
int OrvaneWebGUI_Agent_UPDATE_00004(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);

// Actions. Neither creates an object. TurnOffLCD fails without an agent; GUIReady never fails.
int OrvaneWebGUI_Agent_ACTION_TurnOffLCD(redisContext* context, std::string instanceKey,
                                         FieldValuePair* parameters, ReturnMessage* answer,
                                         std::string* newObjectId);
int OrvaneWebGUI_Agent_ACTION_GUIReady(redisContext* context, std::string instanceKey,
                                       FieldValuePair* parameters, ReturnMessage* answer,
                                       std::string* newObjectId);

// The properties of each update, in the order in which a handler receives their values.
inline constexpr const char* kLanguageNames[] = {"Language"};
inline constexpr const char* kDisplayNames[] = {
    "ScreenBrightness",
    "BacklightOff",
    "ActiveAlarmScreensaver",
    "InactivityTimer",
    "MeasurementSystem",
    "DateFormat",
    "TimeFormat",
    "RoomAverage",
    "HiLoPeriod",
    "Theme",
    "EventUserName",
};
inline constexpr const char* kBootNames[] = {"InitialBoot"};
inline constexpr const char* kNoNames[] = {nullptr}; // no action has parameters

// clang-format off
//   message id  ttl (s)  handler
inline constexpr ReadHandlerEntry kReadTable[] = {
    {"00001",    1,       OrvaneWebGUI_Agent_UPDATE_00001},
};

//   message id  ttl (s)  properties                  names           handler
inline constexpr UpdateHandlerEntry kUpdateTable[] = {
    {"00002",    1,       std::ssize(kLanguageNames), kLanguageNames, OrvaneWebGUI_Agent_UPDATE_00002},
    {"00003",    1,       std::ssize(kDisplayNames),  kDisplayNames,  OrvaneWebGUI_Agent_UPDATE_00003},
    {"00004",    1,       std::ssize(kBootNames),     kBootNames,     OrvaneWebGUI_Agent_UPDATE_00004},
};

//   action name            parameters  names     handler
inline constexpr ActionHandlerEntry kActionTable[] = {
    {"WebGUI.TurnOffLCD",   0,          kNoNames, OrvaneWebGUI_Agent_ACTION_TurnOffLCD},
    {"WebGUI.GUIReady",     0,          kNoNames, OrvaneWebGUI_Agent_ACTION_GUIReady},
};
// clang-format on
