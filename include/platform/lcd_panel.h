// liblcdpanel.so: the LCD panel. Every call returns 0 for success and non-zero for failure; a value
// out of range fails without effect. Any thread, one at a time.
#pragma once

#pragma GCC visibility push(default)
extern "C" {

// Sets the brightness, level 1 to 7.
int LCDBrightnessSet(int level);

// Sets the idle time after which the panel goes dark, 0 to 32767 seconds; 0 means never.
int LCDBlankTimeOutSet(int seconds);

// Darkens the panel now (mode 0) or lights it (mode 1).
int LCDBlank(int mode);

// Prepares the process environment for the panel's display server.
int xset_env_init(void);

} // extern "C"
#pragma GCC visibility pop
