// The extended-attribute folder of a file: where what is derived from the file is kept.
//
// It is `.kinora/<file name>/` beside the file, or, where that cannot be made and written, a folder in the
// package's var folder that the digest of the file's path names. It is made when it is asked for, with the
// owner and the group of the file, for the same people to enter who may read the file. What leads to it is
// never a link. Two calls answer the same in two ways.
#pragma once

namespace libkn::critical::crvnindex {

// Puts the folder of the file at the absolute `path`, ended by a zero byte, into the buffer of `size` bytes.
// false, with a line in the system log, when there is no such file, no folder can be had for it, or its name
// does not fit; the buffer is left as it was then.
bool GetEADirPath(const char* path, char* buffer, int size);

}  // namespace libkn::critical::crvnindex

// The same; zero when the folder is in the buffer, a negative number when not.
int GetEADirPath(const char* path, char* buffer, int size);
