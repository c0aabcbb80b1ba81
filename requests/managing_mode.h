// How the cooling unit is managed.
#pragma once

// Reads the managing mode from the environment variable "ManagingMode" or else from the first
// word of "/var/database/CoolingUnitManagingMode.txt".
//   result   from the environment: the number there, at most 2; from the file: 0 for
//            "Tinvale", 1 for "Varrow", which the environment then holds too; 2 otherwise
// Main thread, before any other thread exists.
int getManagingMode();
