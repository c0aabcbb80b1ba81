// The three constant tables that say what a request does, and the handlers that they name.
//
// A handler runs on the worker thread of its kind with that thread's connection. The handlers that
// work on the settings run one at a time, under one lock that belongs to them. On failure a handler
// sets the answer; whoever called it sends that.
#pragma once

#include "handler_entries.h"

#include <cstdint>
#include <iterator>

// The managing mode of a unit that has not been told how it is managed.
inline constexpr std::int32_t kUnknownManagingMode = 2;

// How the cooling unit is managed. Its temperature scale is read and written only while this is 0.
// Unknown until `main` sets it, before it registers any worker; `main` turns unknown into 0.
extern std::int32_t G_ManagingMode;

// "00001", a read: brings the instance's MeasurementSystem in line with the cooling unit.
//   clearETag   set when the instance was changed
//   result      0 done; otherwise the code of osselCreateHashTable
// A missing agent is no failure: the instance alone is brought in line.
int OrvaneWebGUI_Agent_UPDATE_00001(redisContext* context, std::string objectKey,
                                    ReturnMessage* answer, bool* clearETag);

// Updates: the values go to the settings, the panel, the unit and the database. A refused value is
// logged and never fails the request; a missing agent or a row that cannot be written does.
int OrvaneWebGUI_Agent_UPDATE_00002(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);
int OrvaneWebGUI_Agent_UPDATE_00003(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);
int OrvaneWebGUI_Agent_UPDATE_00004(redisContext* context, std::string instanceKey,
                                    FieldValuePair** values, int* count, ReturnMessage* answer);

// Actions. Neither makes an object.
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
