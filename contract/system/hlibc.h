// The appliance's C helpers for running programs.
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
