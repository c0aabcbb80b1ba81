// The file that tells the rest of the system that the service is up.
#pragma once

// Creates "/tmp/run/Stidre.run" or empties it; a symbolic link of that name is a failure. Makes up
// to 6 attempts and sleeps 2 seconds after each failed one, then gives up without a log line. The
// daemon never removes the file. Main thread.
void createRunMarker();
