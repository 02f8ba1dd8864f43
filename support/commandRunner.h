// Running external programs from word vectors, never through a shell: what every handler of the
// agent uses to reach the server's own tools.
//
// A command vector is an array of char* ended by a null pointer: the program, searched along PATH
// as by execvp(3), and its arguments. Two words have a meaning of their own:
//   "|"  joins two commands by a pipe. The commands left of the last one run in the background; the
//        last one counts. A command that receives a pipe must not be a shell or a script
//        interpreter (see support/process/shellPattern.h): it is refused with exit code 1, while
//        the stages left of it run on.
//   "&"  ends the command and runs it in the background, in a session of its own (setsid(2)), never
//        waited for. Words behind it are ignored.
// Words that merely begin with these characters are ordinary.
//
// A command starts with the standard streams it is given ("/dev/null" in place of those it is not),
// every other descriptor closed, and the signal mask and ignored signals of the calling thread.
//
// With a log path, warnings and errors of the call are appended to that file, one line each:
// "[WARN] [<pid>] ..." or "[ERROR] [<pid>] ...", the process being the one that called. The file
// is created when it is not there; when it cannot be opened, nothing is logged.
//
// All functions may be called by any thread at any time, and by forked children, unless stated
// otherwise. None throws.
#pragma once

#include <sys/types.h>

#include <cstdio>

// The core and the streams

/// Runs the vector `argv`, which is rewritten in place and must be writable; the words are not.
/// `in_fd`, `out_fd` and `err_fd` become the standard streams of the command (negative:
/// "/dev/null") and stay the caller's; an input file is read from its start. With several stages,
/// `in_fd` goes to the first, `out_fd` to the last, `err_fd` to all. `log_path` may be null.
/// `do_glob` other than 0 replaces each word that holds a wildcard or braces (glob(7)) by the
/// matching paths, in the order of their directory, not following symbolic links; a word that
/// matches nothing stays. Waits for the last stage unless "&" ends the vector.
/// Returns the exit code, 0 to 255, of the last stage: 1 also when it could not be executed or was
/// refused, 0 also when a signal killed it; 0 at once for a command in the background; -1 when
/// there is nothing to run or no process could be started.
int exec_pipeline(int in_fd, int out_fd, int err_fd, const char* log_path, char do_glob,
                  char** argv);

/// Runs the vector `argv` (as exec_pipeline does) with a stream on it. `mode`: "r" reads its
/// standard output, "w" writes to its standard input, anything with a "+" does both over one pair
/// of sockets, where the command's input is the caller's own end, so that only its output is of
/// use. `err_path`, unless null, receives its standard error (appended; created with 0774).
/// Give the vector a last word "&", as all exec_popen functions do: the command then runs detached
/// and its end shows as end of file. Without it, the stream's own child waits for the command, and
/// exec_pclose for that child: with a "+" mode for ever, when the command reads to its input's end.
/// Returns the stream, to be closed with exec_pclose and never with fclose(3), or null when `mode`
/// is something else or a pipe, memory or a process is lacking; each is logged. A program that
/// cannot be executed gives a stream without data.
/// Writing to a command that is gone raises SIGPIPE as on any pipe; callers of mode "w" see to it.
FILE* exec_open_stream(const char* mode, const char* err_path, const char* log_path, char do_glob,
                       char** argv);

/// Closes a stream of exec_open_stream or of an exec_popen function and collects its direct child,
/// without holding up other threads' streams.
/// Returns the child's raw status as of waitpid(2), which is that of an exit with 1 (256) whatever
/// the command did; -1 when `stream` is null or not an open stream of this process (it is then left
/// open), or when the child cannot be waited for. A stream opened before a fork(2) belongs to the
/// parent; the child gets -1.
int exec_pclose(FILE* stream);

// Running a command given as words: `cmd`, its arguments and a null pointer. All return as
// exec_pipeline does, and -1 also when memory is lacking. Those named ..._glob expand wildcards.
//
// `out_path` and `err_path` name files that the command's output is appended to, created with 0774;
// a null path and a file that does not open mean "/dev/null". `log_path` may be null.

/// All standard streams on "/dev/null", no log.
[[gnu::sentinel]] int exec_run(const char* cmd, ...);
[[gnu::sentinel]] int exec_run_glob(const char* cmd, ...);

/// Output and errors into files, input from "/dev/null".
[[gnu::sentinel]] int exec_run_to_files(const char* out_path, const char* err_path,
                                        const char* log_path, const char* cmd, ...);
[[gnu::sentinel]] int exec_run_to_files_glob(const char* out_path, const char* err_path,
                                             const char* log_path, const char* cmd, ...);

/// The same with a vector, whose element 0 is replaced by `cmd`; `argv` itself is not changed.
int exec_run_to_files_argv(const char* out_path, const char* err_path, const char* log_path,
                           const char* cmd, char** argv);

/// As exec_run_to_files_argv, with input read from `in_path` and the caller's open(2) flags for the
/// two others.
int exec_run_redirect_argv(const char* in_path, const char* out_path, const char* err_path,
                           const char* log_path, int out_flags, int err_flags, const char* cmd,
                           char** argv);

/// As exec_run_to_files without a log.
[[gnu::sentinel]] int exec_run_out_err(const char* out_path, const char* err_path, const char* cmd,
                                       ...);

// A stream on a detached command given as words: as exec_open_stream, with an "&" added. Null also
// when memory is lacking.

[[gnu::sentinel]] FILE* exec_popen(const char* mode, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_glob(const char* mode, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_logged(const char* mode, const char* err_path,
                                          const char* log_path, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_logged_glob(const char* mode, const char* err_path,
                                               const char* log_path, const char* cmd, ...);
/// Mode "r".
[[gnu::sentinel]] FILE* exec_popen_read(const char* cmd, ...);
