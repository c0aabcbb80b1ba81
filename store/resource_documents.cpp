// Filling the documents of the five instances.
#include "store/resource_documents.h"

#include "agent/webgui_agent.h"
#include "process_state.h"
#include "store/instance_operations.h"
#include "text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

ResourceDocuments G_ResourceDocuments;

namespace {

// The next instance's number; never reset.
int uuidCounter = 0;

MallocPtr<FieldValuePair[]> allocate(DocumentLayout layout) {
    return MallocPtr<FieldValuePair[]>(static_cast<FieldValuePair*>(
        std::calloc(static_cast<std::size_t>(layout.count), sizeof(FieldValuePair))));
}

void writeNames(FieldValuePair* document, DocumentLayout layout) {
    std::memset(document, 0, static_cast<std::size_t>(layout.count) * sizeof(FieldValuePair));
    fillFieldNames(document, layout.names(), static_cast<unsigned char>(layout.count));
}

void setWebGUIValue(std::size_t position, std::string_view text) {
    copyBounded(G_ResourceDocuments.webGUI[position].value, text);
}

void fillSettings(const WebGUIAgent& agent, std::string_view theme) {
    constexpr DocumentLayout kWebGUI = kWebGUILayout;
    setWebGUIValue(fieldPosition(kWebGUI, "InitialBoot"), booleanText(agent.getInitialBoot()));
    setWebGUIValue(fieldPosition(kWebGUI, "Language"), agent.getLanguage());
    setWebGUIValue(fieldPosition(kWebGUI, "ScreenBrightness"),
                   std::to_string(agent.getScreenBrightness()));
    setWebGUIValue(fieldPosition(kWebGUI, "BacklightOff"), agent.getBacklightOff());
    setWebGUIValue(fieldPosition(kWebGUI, "ActiveAlarmScreensaver"),
                   agent.getActiveAlarmScreensaver());
    setWebGUIValue(fieldPosition(kWebGUI, "InactivityTimer"), agent.getInactivityTimer());
    setWebGUIValue(fieldPosition(kWebGUI, "MeasurementSystem"), agent.getMeasurementSystem());
    setWebGUIValue(fieldPosition(kWebGUI, "DateFormat"), agent.getDateFormat());
    setWebGUIValue(fieldPosition(kWebGUI, "TimeFormat"), agent.getTimeFormat());
    setWebGUIValue(fieldPosition(kWebGUI, "RoomAverage"), booleanText(agent.getRoomAverage()));
    setWebGUIValue(fieldPosition(kWebGUI, "HiLoPeriod"), agent.getHiLoPeriod());
    setWebGUIValue(fieldPosition(kWebGUI, "Theme"), theme);
}

} // namespace

bool allocateResourceDocuments() {
    ResourceDocuments& documents = G_ResourceDocuments;
    documents.webGUI = allocate(kWebGUILayout);
    documents.actions = allocate(kActionsLayout);
    documents.oem = allocate(kOemLayout);
    documents.turnOffLCD = allocate(kTurnOffLCDLayout);
    documents.guiReady = allocate(kGUIReadyLayout);
    return documents.webGUI && documents.actions && documents.oem && documents.turnOffLCD &&
           documents.guiReady;
}

void freeResourceDocuments() {
    G_ResourceDocuments = {};
}

void nameResourceDocuments() {
    writeNames(G_ResourceDocuments.webGUI.get(), kWebGUILayout);
    writeNames(G_ResourceDocuments.actions.get(), kActionsLayout);
    writeNames(G_ResourceDocuments.oem.get(), kOemLayout);
    writeNames(G_ResourceDocuments.turnOffLCD.get(), kTurnOffLCDLayout);
    writeNames(G_ResourceDocuments.guiReady.get(), kGUIReadyLayout);
}

int loadDefinitionTypeIds(redisContext* context) {
    ResourceTypeIds& ids = G_ResourceTypeIds;
    const std::string definitionsKey = getHashFieldText(context, ids.schemaTypeId, "definitions");
    ids.webGUITypeId = getHashFieldText(context, definitionsKey, "WebGUI");
    ids.actionsTypeId = getHashFieldText(context, ids.webGUITypeId, kActionsField);
    ids.oemTypeId = getHashFieldText(context, ids.actionsTypeId, kOemField);
    ids.turnOffLCDTypeId = getHashFieldText(context, ids.actionsTypeId, kTurnOffLCDField);
    ids.guiReadyTypeId = getHashFieldText(context, ids.actionsTypeId, kGUIReadyField);
    const bool complete = !definitionsKey.empty() && !ids.webGUITypeId.empty() &&
                          !ids.actionsTypeId.empty() && !ids.oemTypeId.empty() &&
                          !ids.turnOffLCDTypeId.empty() && !ids.guiReadyTypeId.empty();
    return complete ? 0 : 1;
}

std::string generateInstanceUUID(int) {
    char uuid[37] = {};
    std::snprintf(uuid, sizeof uuid, "80000000-0000-0000-0000-008000000%03d", uuidCounter++);
    return uuid;
}

int WebGUIPlugin_FillDocument(redisContext* context, std::string* uuid, int index) {
    constexpr DocumentLayout kWebGUI = kWebGUILayout;
    *uuid = generateInstanceUUID(index);
    // Written empty; the object store's framework completes them.
    setWebGUIValue(fieldPosition(kWebGUI, "@odata.context"), "");
    setWebGUIValue(fieldPosition(kWebGUI, "@odata.id"), "");
    setWebGUIValue(fieldPosition(kWebGUI, "@odata.type"), "");
    setWebGUIValue(fieldPosition(kWebGUI, "Id"), "");
    setWebGUIValue(fieldPosition(kWebGUI, "Name"), "Zolan CMS Web GUI Settings");
    fillSettings(*G_WebGUIAgent, G_WebGUIAgent->getTheme());
    std::string actionsUuid;
    fillActionsDocument(context, &actionsUuid, index);
    setWebGUIValue(fieldPosition(kWebGUI, kActionsField), actionsUuid);
    setWebGUIValue(fieldPosition(kWebGUI, "typeId"), G_ResourceTypeIds.schemaTypeId);
    setWebGUIValue(fieldPosition(kWebGUI, "typeID"), G_ResourceTypeIds.webGUITypeId);
    return 1;
}

int fillActionsDocument(redisContext* context, std::string* uuid, int index) {
    const auto& actions = G_ResourceDocuments.actions;
    *uuid = generateInstanceUUID(index);
    std::string child;
    fillOemDocument(context, &child, index);
    copyBounded(actions[fieldPosition(kActionsLayout, kOemField)].value, child);
    copyBounded(actions[fieldPosition(kActionsLayout, "typeID")].value,
                G_ResourceTypeIds.actionsTypeId);
    fillTurnOffLCDDocument(context, &child, index);
    copyBounded(actions[fieldPosition(kActionsLayout, kTurnOffLCDField)].value, child);
    fillGUIReadyDocument(context, &child, index);
    copyBounded(actions[fieldPosition(kActionsLayout, kGUIReadyField)].value, child);
    return 1;
}

int fillOemDocument(redisContext*, std::string* uuid, int index) {
    *uuid = generateInstanceUUID(index);
    // Meant: the Oem document keeps an empty "typeID"; these two writes go to other documents,
    // whose fillers come later and overwrite them.
    copyBounded(G_ResourceDocuments.turnOffLCD[0].value, G_ResourceTypeIds.oemTypeId);
    copyBounded(G_ResourceDocuments.guiReady[0].value, G_ResourceTypeIds.oemTypeId);
    return 1;
}

int fillTurnOffLCDDocument(redisContext*, std::string* uuid, int index) {
    const auto& document = G_ResourceDocuments.turnOffLCD;
    *uuid = generateInstanceUUID(index);
    copyBounded(document[fieldPosition(kTurnOffLCDLayout, "title")].value,
                "This action is used to turn off the LCD.");
    copyBounded(document[fieldPosition(kTurnOffLCDLayout, "target")].value, "");
    copyBounded(document[fieldPosition(kTurnOffLCDLayout, "typeID")].value,
                G_ResourceTypeIds.turnOffLCDTypeId);
    return 1;
}

int fillGUIReadyDocument(redisContext*, std::string* uuid, int index) {
    const auto& document = G_ResourceDocuments.guiReady;
    *uuid = generateInstanceUUID(index);
    copyBounded(document[fieldPosition(kGUIReadyLayout, "target")].value, "");
    copyBounded(document[fieldPosition(kGUIReadyLayout, "typeID")].value,
                G_ResourceTypeIds.guiReadyTypeId);
    return 1;
}
