// The resource tree: creating the five instances in the object store, adding them to the work tree,
// and removing them again. Main thread only, with the daemon's start-up connection.
//
//   WebGUI            member of the instance collection; its "Actions" names
//   `- Actions        whose "Oem", "#WebGUI.TurnOffLCD" and "#WebGUI.GUIReady" name
//      |- Oem
//      |- TurnOffLCD
//      `- GUIReady
//
// Unless stated otherwise: result 0 done, otherwise the code of the step that failed; every failed
// step is logged; an empty collection key means no collection.
#pragma once

#include "platform/ossel.h"
#include "records.h"

#include <string>

// Creates the settings agent, builds the tree from the leaves up and adds it to the work tree.
//   result   1 done; 0 failed: the top-level hashes and the whole instance collection are deleted
//            again, the agent and the subtree stay
int OrvaneWebGUI_Init(redisContext* context);

// Create an instance from its document, children first. On failure delete the children that were
// created, except TurnOffLCD if GUIReady fails.
int OrvaneWebGUI_Init_Create(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Init_Create(redisContext* context, std::string uuid,
                                     std::string collectionKey);
int OrvaneWebGUI_Actions_Oem_Init_Create(redisContext* context, std::string uuid,
                                         std::string collectionKey);
int OrvaneWebGUI_Actions_TurnOffLCD_Init_Create(redisContext* context, std::string uuid,
                                                std::string collectionKey);
int OrvaneWebGUI_Actions_GUIReady_Init_Create(redisContext* context, std::string uuid,
                                              std::string collectionKey);

// Add instances to the work tree of the schema type, or remove them.
int OrvaneWebGUI_renewAdd(redisContext* context, const InstanceSlot* instances, unsigned int count);
int OrvaneWebGUI_renewRemove(redisContext* context, const InstanceSlot* instances,
                             unsigned int count);
int OrvaneWebGUI_renewAddOne(redisContext* context, std::string uuid);
int OrvaneWebGUI_renewRemoveOne(redisContext* context, std::string uuid);

// Delete an instance, children first. A failure does not stop the chain.
void OrvaneWebGUI_Delete(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Delete(redisContext* context, std::string uuid, std::string collectionKey);
int OrvaneWebGUI_Actions_Oem_Delete(redisContext* context, std::string uuid,
                                    std::string collectionKey);
int OrvaneWebGUI_Actions_TurnOffLCD_Delete(redisContext* context, std::string uuid,
                                           std::string collectionKey);
int OrvaneWebGUI_Actions_GUIReady_Delete(redisContext* context, std::string uuid,
                                         std::string collectionKey);

// Deletes the instance collection, whatever its members.
int OrvaneWebGUI_DeleteInstanceCollection(redisContext* context);

// Deletes everything that the store's instance collection names. For tools; the service never calls
// it.
void OrvaneWebGUI_Clean(redisContext* context);

// Deletes what this process has created and destroys the settings agent.
void OrvaneWebGUI_CleanCreated(redisContext* context);
