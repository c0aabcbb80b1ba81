// Loaded in front of the C library (LD_PRELOAD), makes the daemon's fixed pauses return at once:
// what then is left of a start-up or an update is work.
extern "C" {

[[gnu::visibility("default")]] int usleep(unsigned int /*microseconds*/) {
    return 0;
}

[[gnu::visibility("default")]] unsigned int sleep(unsigned int /*seconds*/) {
    return 0;
}
}
