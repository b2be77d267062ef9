// Running a program with a list of arguments, and learning how it ended.
#pragma once

#include <memory>
#include <string>

namespace CRVNUtils {

// One run of one program. The child gets no shell, a fixed environment, /dev/null as standard input and no
// descriptor but the standard ones; its standard error goes to the log. It is never root: it works under the
// service's account, which must be able to read and write what its arguments name. Ten minutes, as many of
// processor time, 4 GB of memory and 2 GB in a file are its limits. What ffmpeg is to read (the argument
// after
// "-i") must be one plain file, whose content does not make ffmpeg open others.
class ProcessRunner {
 public:
  // `program` is an absolute path, and so is `name`, its argument 0: the same one.
  ProcessRunner(const char* program, const char* name);

  // `program` with all its arguments: `argv` begins with argument 0, which is `program` again, and ends with
  // a null.
  ProcessRunner(const char* program, const char* const argv[]);

  // Appends arguments, up to nine, the first null of which ends the list.
  void addArguments(const char* a1, const char* a2 = nullptr, const char* a3 = nullptr,
                    const char* a4 = nullptr, const char* a5 = nullptr, const char* a6 = nullptr,
                    const char* a7 = nullptr, const char* a8 = nullptr, const char* a9 = nullptr);

  // Runs the program and waits for its end; nobody leaves a program to itself, so `wait` must be true. With
  // `capture` its standard output is kept, up to 16 MB; else it is thrown away. 0 when it succeeded, its exit
  // status when that is another one, a negative number when it could not be started, was ended by a signal or
  // met a limit.
  int run(bool wait, bool capture);

  // What the last run that captured has written.
  std::string getCapturedOutput() const;

  // The program and its arguments with blanks between them, for the log.
  std::string toString() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace CRVNUtils
