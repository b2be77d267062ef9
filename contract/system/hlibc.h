// The appliance's C helpers: running programs, reading settings.
#pragma once

// Runs `program` (an absolute path) with the given arguments, which end in a null `const char*`, waits for it
// and returns its exit status; a negative number when it could not be started, a signal ended it, or it took
// too long (a minute; ten for /bin/rm and /bin/cp) and was killed.
//
// The child gets an argument list and no shell, a fixed environment, /dev/null as standard input, no
// descriptor but the standard ones, standard output turned away from the answer, and it drops its rights for
// good; only /bin/rm and /bin/cp keep the effective identity of the caller. Since these may be root, each of
// their arguments but rm's "-rf" must be an absolute name without a slash at the end and without "." and ".."
// as components; otherwise nothing is started.
int HLIBCExec(const char* program, ...) __attribute__((sentinel));

// Looks a key up in a file of key="value" lines; of several lines with the key the last one counts. Puts the
// value, cut to `size` - 1 bytes and ended by a zero byte, into `buffer` and returns its length as it stands
// in the file. 0 when the file or the key is not there, a negative number when the file cannot be read; the
// buffer is left as it was then. `flags` must be 0.
int HLIBCFileGetKeyValue(const char* path, const char* key, char* buffer, int size, int flags);
