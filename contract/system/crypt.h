// Secrets that are kept on this machine.
#pragma once

// Decrypts what the machine itself has encrypted and puts the clear text, ended by a zero byte, into the
// buffer of `size` bytes. 0, with a line in the system log and the buffer as it was, when it is of another
// machine, damaged, or does not fit; else another number. The line tells nothing of either text.
int HLIBCCryptSzDecrypt(const char* encrypted, char* buffer, int size);
