// The documents of the resource tree: the field records of its five instances, with the instances'
// UUIDs and type ids. Main thread only.
//
// The fillers need G_WebGUIAgent, whose settings they read, and an allocated G_ResourceDocuments,
// which they fill. They always return 1.
#pragma once

#include "platform/ossel.h"
#include "records.h"
#include "store/names.h"

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

// The field names of the five documents in record order, one document after the other.
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

// The names of one document, which has one record per name.
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

// Returns the position of a field's record. Does not compile for a name that the document lacks.
consteval std::size_t fieldPosition(DocumentLayout layout, std::string_view name) {
    int position = 0;
    while (layout.names()[position] != name) {
        if (++position == layout.count) {
            throw "the document has no such field";
        }
    }
    return static_cast<std::size_t>(position);
}

// The field records of the five documents. Allocated only while the tree is built.
struct ResourceDocuments {
    MallocPtr<FieldValuePair[]> webGUI;
    MallocPtr<FieldValuePair[]> actions;
    MallocPtr<FieldValuePair[]> oem;
    MallocPtr<FieldValuePair[]> turnOffLCD;
    MallocPtr<FieldValuePair[]> guiReady;
};
extern ResourceDocuments G_ResourceDocuments;

// Allocates the five arrays, zeroed. Returns false if memory runs out; call freeResourceDocuments
// in either case.
bool allocateResourceDocuments();
void freeResourceDocuments();

// Empties the five documents and writes their field names.
void nameResourceDocuments();

// Reads the type ids of the five instances from the schema definitions in the store, starting from
// G_ResourceTypeIds.schemaTypeId, into G_ResourceTypeIds.
//   result   0 all found; 1 at least one is missing, which is not logged
int loadDefinitionTypeIds(redisContext* context);

// Returns the next instance UUID. Every process counts from 000; its one tree uses 000 to 004. From
// 1000 on the text is cut to 36 characters, so that UUIDs repeat. The index is not used.
std::string generateInstanceUUID(int index);

// Fill one document and its children's, and set `uuid` to a fresh UUID for the instance.
int WebGUIPlugin_FillDocument(redisContext* context, std::string* uuid, int index);
int fillActionsDocument(redisContext* context, std::string* uuid, int index);
int fillOemDocument(redisContext* context, std::string* uuid, int index);
int fillTurnOffLCDDocument(redisContext* context, std::string* uuid, int index);
int fillGUIReadyDocument(redisContext* context, std::string* uuid, int index);
