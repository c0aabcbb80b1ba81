// libcooling.so: the cooling unit. Every call returns 0 for success and non-zero for failure, after
// a bounded wait. Any thread.
#pragma once

#pragma GCC visibility push(default)
extern "C" {

// Writes the temperature scale: 0 imperial, 1 metric. Any other value fails without effect.
//   unit, flags  must be 0
//   user         who has asked for it, NUL-terminated, or null
int CoolSetTempScale(int unit, int scale, const char* user, int flags);

// Reads the temperature scale. A failed read leaves *scale untouched.
//   unit, flags  must be 0
//   text         room for 1024 characters, or null; receives a NUL-terminated description of the
//                scale, empty on failure
int CoolGetTempScale(int unit, int* scale, int flags, char* text);

} // extern "C"
#pragma GCC visibility pop
