// The signals that ask a program to stop.
#pragma once

namespace vorin::toolkit {

extern "C" {
using StopHandler = void (*)(int signal);
}

/// Lets `handler` take each of them once: SIGINT (Ctrl-C), SIGTERM and SIGHUP, and on Windows
/// SIGINT, SIGTERM and SIGBREAK. What the starter of the program wants ignored (nohup, background
/// jobs of a script) stays so.
void catchStops(StopHandler handler);

/// Gives those back that `handler` still waits for.
void releaseStops(StopHandler handler);

}  // namespace vorin::toolkit
