// The file that tells the rest of the system that the service is up.
#pragma once

// Creates "/tmp/run/Stidre.run", empty, or empties it. Up to 6 attempts, 2 seconds of sleep after
// each that failed; then goes on without it. Nothing is logged, and nothing removes the file. Main
// thread.
void createRunMarker();
