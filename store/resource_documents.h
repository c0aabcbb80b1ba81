// The documents of the resource tree: the field records of its five instances, the UUIDs of
// these instances, and the type ids that the documents carry. Main thread only.
//
// The fillers read the settings through G_WebGUIAgent, which must exist, write into
// G_ResourceDocuments, which must be allocated, and return 1, always.
#pragma once

#include "platform/ossel.h"
#include "records.h"
#include "store/names.h"

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

// The field names of the five documents, one after the other, in record order.
inline constexpr const char* kFieldNames[] = {
    // WebGUI
    "@odata.context", "@odata.id", "@odata.type", "ActiveAlarmScreensaver", "BacklightOff",
    "DateFormat", "Id", "InactivityTimer", "InitialBoot", "Language", "MeasurementSystem", "Name",
    "ScreenBrightness", "TimeFormat", "RoomAverage", "HiLoPeriod", "Theme", kActionsField, "typeId",
    "typeID",
    // Actions
    kOemField, "typeID", kTurnOffLCDField, kGUIReadyField,
    // Oem
    "typeID",
    // TurnOffLCD
    "title", "target", "typeID",
    // GUIReady
    "target", "typeID"};

// Which of the names belong to a document: it has one record per name.
struct DocumentLayout {
    int first;
    int count;
    constexpr const char* const* names() const { return kFieldNames + first; }
};
inline constexpr DocumentLayout kWebGUILayout{0, 20};
inline constexpr DocumentLayout kActionsLayout{20, 4};
inline constexpr DocumentLayout kOemLayout{24, 1};
inline constexpr DocumentLayout kTurnOffLCDLayout{25, 3};
inline constexpr DocumentLayout kGUIReadyLayout{28, 2};
static_assert(kGUIReadyLayout.first + kGUIReadyLayout.count == std::size(kFieldNames));

// The record that holds a field. A name that the document lacks does not compile.
consteval std::size_t fieldPosition(DocumentLayout layout, std::string_view name) {
    int position = 0;
    while (layout.names()[position] != name) {
        if (++position == layout.count) {
            throw "the document has no such field";
        }
    }
    return static_cast<std::size_t>(position);
}

// The five field-record arrays. They live only while the tree is built.
struct ResourceDocuments {
    MallocPtr<FieldValuePair[]> webGUI;
    MallocPtr<FieldValuePair[]> actions;
    MallocPtr<FieldValuePair[]> oem;
    MallocPtr<FieldValuePair[]> turnOffLCD;
    MallocPtr<FieldValuePair[]> guiReady;
};
extern ResourceDocuments G_ResourceDocuments;

// Allocates the five arrays, zeroed. False when there is no memory for one of them; those that
// there are stay until freeResourceDocuments.
bool allocateResourceDocuments();
void freeResourceDocuments();

// Zeroes the five documents and writes their field names.
void nameResourceDocuments();

// Reads the type ids of the five instances from the schema definitions in the store into
// G_ResourceTypeIds, whose schemaTypeId names them.
//   result   0 all found; 1 one is missing, nothing logged
int loadDefinitionTypeIds(redisContext* context);

// The next instance UUID: fixed and repeatable, 000 to 004 for the one tree of a process. From
// the 1000th on the text is cut to 36 characters, so that UUIDs repeat. The index is not used.
std::string generateInstanceUUID(int index);

// Fill one document with its values and hand back the instance's fresh UUID; a document
// with children fills theirs too.
int WebGUIPlugin_FillDocument(redisContext* context, std::string* uuid, int index);
int fillActionsDocument(redisContext* context, std::string* uuid, int index);
int fillOemDocument(redisContext* context, std::string* uuid, int index);
int fillTurnOffLCDDocument(redisContext* context, std::string* uuid, int index);
int fillGUIReadyDocument(redisContext* context, std::string* uuid, int index);
