// Why the last call of the platform failed, where somebody has said so. One state for the process.
#pragma once

// The code that was set last; 0 when none was.
unsigned int HLIBCErrGet();

// Sets the code. `file` and `line` say where in the sources; `flags` must be 0.
void HLIBCErrSetEx(unsigned int code, const char* file, int line, int flags);
