// Field names of request objects and of the resource tree.
#pragma once

// The field of a request object that names the target instance.
inline constexpr char kOriginalObjectIdField[] = "OriginalObjID";

// The links of the tree, which are also field names in the schema definitions: WebGUI to Actions,
// and Actions to its three children.
inline constexpr char kActionsField[] = "Actions";
inline constexpr char kOemField[] = "Oem";
inline constexpr char kTurnOffLCDField[] = "#WebGUI.TurnOffLCD";
inline constexpr char kGUIReadyField[] = "#WebGUI.GUIReady";
