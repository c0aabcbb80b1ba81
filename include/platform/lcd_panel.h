// liblcdpanel.so: the LCD panel. Every call returns 0 for success and non-zero for failure;
// a value out of range fails without any effect. Any thread, one at a time.
#pragma once

#pragma GCC visibility push(default)
extern "C" {

// Brightness level, 1 to 7.
int LCDBrightnessSet(int level);

// Idle time in seconds after which the panel goes dark; 0 is never.
int LCDBlankTimeOutSet(int seconds);

// 0 darkens the panel now, 1 lights it.
int LCDBlank(int mode);

// Prepares the environment of the panel's display server.
int xset_env_init(void);

} // extern "C"
#pragma GCC visibility pop
