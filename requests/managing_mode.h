// How the cooling unit is managed.
#pragma once

// Reads the managing mode from the environment variable "ManagingMode" or, if that is not set, from
// the first word of "/var/database/CoolingUnitManagingMode.txt".
//   result   from the environment: the number there, at most kUnknownManagingMode; from the file: 0
//            for "Tinvale" and 1 for "Varrow", which it also stores in the environment; otherwise
//            kUnknownManagingMode
// Logs nothing. Main thread, before any other thread exists.
int getManagingMode();
