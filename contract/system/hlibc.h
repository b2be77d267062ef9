// The appliance's C helpers: running programs, reading settings.
#pragma once

// Runs `program` (an absolute path) with the given arguments, which end in a null `const char*`, waits for it
// and returns its exit status; a negative number when it could not be started, a signal ended it, or it took
// too long (a minute; ten for /bin/rm and /bin/cp) and was killed.
//
// The child gets an argument list and no shell, a fixed environment, /dev/null as standard input, no
// descriptor but the standard ones, standard output turned away from the answer, and it drops its rights for
// good; only /bin/rm and /bin/cp are more than that: rm keeps the effective identity of the caller, and so
// does cp, but when that is root it works as the owner of the target's folder, to whom the copy then belongs.
// cp copies one plain file and follows no link at the source, at the target, or at the two folders that the
// target lies in. Each of their arguments but rm's "-rf" must be an absolute name without a slash at the end
// and without "." and ".." as components; otherwise nothing is started.
int HLIBCExec(const char* program, ...) __attribute__((sentinel));

// Looks a key up in a file of key="value" lines; of several lines with the key the last one counts. Puts the
// value, cut to `size` - 1 bytes and ended by a zero byte, into `buffer` and returns its length as it stands
// in the file. 0 when the file or the key is not there, a negative number when the file cannot be read; the
// buffer is left as it was then. `flags` must be 0.
int HLIBCFileGetKeyValue(const char* path, const char* key, char* buffer, int size, int flags);

// Forks the process: 1 in the calling process, 0 in the child, -1 when there is no child. The child is in a
// session of its own and not to be waited for; it lives on when the caller ends and is not ended with it. Its
// standard input, output and error are /dev/null, and it has no other descriptor of the caller's, so nothing
// that it writes gets into the answer and no lock and no connection is held by it. Its identity is the
// caller's. It ends itself by exit().
int HLIBCProcForkChildNoWait();
