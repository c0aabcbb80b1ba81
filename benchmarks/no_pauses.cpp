// Preloaded in front of the C library, makes the daemon's fixed pauses return at once, which leaves
// only the work of a start-up or an update.
extern "C" {

[[gnu::visibility("default")]] int usleep(unsigned int /*microseconds*/) {
    return 0;
}

[[gnu::visibility("default")]] unsigned int sleep(unsigned int /*seconds*/) {
    return 0;
}
}
