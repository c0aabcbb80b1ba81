// The resource tree: building the five instances in the object store, registering them, and
// taking them down again. Main thread only, with the daemon's start-up connection.
//
//   WebGUI            member of the instance collection; its "Actions" names
//   `- Actions        whose "Oem", "#WebGUI.TurnOffLCD" and "#WebGUI.GUIReady" name
//      |- Oem
//      |- TurnOffLCD
//      `- GUIReady
//
// Unless stated: result 0 done, otherwise the code of the step that failed; every failed step
// is logged; an empty collection key means member of no collection.
#pragma once

#include "platform/ossel.h"
#include "records.h"

#include <string>

// Makes the settings agent, builds the tree from the leaves up and adds it to the work tree.
//   result   1 done; 0 failed: the top-level hashes and the whole instance collection are removed
//            again, the agent and the subtree stay
int OrvaneWebGUI_Init(redisContext* context);

// Write the instance's document, children first. What a failed step leaves behind is deleted, but
// for the TurnOffLCD instance when GUIReady fails.
int OrvaneWebGUI_Init_Create(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Init_Create(redisContext* context, std::string uuid,
                                     std::string collectionKey);
int OrvaneWebGUI_Actions_Oem_Init_Create(redisContext* context, std::string uuid,
                                         std::string collectionKey);
int OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(redisContext* context, std::string uuid,
                                                std::string collectionKey);
int OrvaneWebGUI_Actions_GUIReady_Init_Create(redisContext* context, std::string uuid,
                                              std::string collectionKey);

// Add instances to the work tree of the schema type, or take them out.
int OrvaneWebGUI_renewAdd(redisContext* context, const InstanceSlot* instances, unsigned int count);
int OrvaneWebGUI_renewRemove(redisContext* context, const InstanceSlot* instances,
                             unsigned int count);
int OrvaneWebGUI_renewAddOne(redisContext* context, std::string uuid);
int OrvaneWebGUI_renewRemoveOne(redisContext* context, std::string uuid);

// Delete an instance, children first; no failure stops the chain.
void OrvaneWebGUI_Delete(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Delete(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Oem_Delete(redisContext* context, std::string uuid,
                                    std::string collectionKey);
int OrvaneWebGUI_Actions_TurnOffLCD_Delete(redisContext* context, std::string uuid,
                                           std::string collectionKey);
int OrvaneWebGUI_Actions_GUIReady_Delete(redisContext* context, std::string uuid,
                                         std::string collectionKey);

// Deletes the instance collection, whoever its members are.
int OrvaneWebGUI_DeleteInstanceCollection(redisContext* context);

// Takes down everything that the store's instance collection names. Not part of the service's own
// life; kept for tools.
void OrvaneWebGUI_Clean(redisContext* context);

// Takes down what this process created, and destroys the settings agent.
void OrvaneWebGUI_CleanCreated(redisContext* context);
