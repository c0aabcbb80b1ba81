// Keys and field names in the object store that this service reads and writes.
#pragma once

// The request object's field that names the instance the request is for.
inline constexpr char kOriginalObjectIdField[] = "OriginalObjID";

// Fields of the Actions document, which are also the names of its schema definitions.
inline constexpr char kActionsField[] = "Actions";
inline constexpr char kOemField[] = "Oem";
inline constexpr char kTurnOffLCDField[] = "#WebGUI.TurnOffLCD";
inline constexpr char kGUIReadyField[] = "#WebGUI.GUIReady";
