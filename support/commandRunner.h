// Running external programs from word vectors, never through a shell.
#pragma once

#include <sys/types.h>

#include <cstdio>

int exec_pipeline(int in_fd, int out_fd, int err_fd, const char* log_path, char do_glob,
                  char** argv);
FILE* exec_open_stream(const char* mode, const char* err_path, const char* log_path, char do_glob,
                       char** argv);
int exec_pclose(FILE* stream);

[[gnu::sentinel]] int exec_run(const char* cmd, ...);
[[gnu::sentinel]] int exec_run_glob(const char* cmd, ...);
[[gnu::sentinel]] int exec_run_to_files(const char* out_path, const char* err_path,
                                        const char* log_path, const char* cmd, ...);
[[gnu::sentinel]] int exec_run_to_files_glob(const char* out_path, const char* err_path,
                                             const char* log_path, const char* cmd, ...);
int exec_run_to_files_argv(const char* out_path, const char* err_path, const char* log_path,
                           const char* cmd, char** argv);
int exec_run_redirect_argv(const char* in_path, const char* out_path, const char* err_path,
                           const char* log_path, int out_flags, int err_flags, const char* cmd,
                           char** argv);
[[gnu::sentinel]] int exec_run_out_err(const char* out_path, const char* err_path, const char* cmd,
                                       ...);
[[gnu::sentinel]] FILE* exec_popen(const char* mode, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_glob(const char* mode, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_logged(const char* mode, const char* err_path,
                                          const char* log_path, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_logged_glob(const char* mode, const char* err_path,
                                               const char* log_path, const char* cmd, ...);
[[gnu::sentinel]] FILE* exec_popen_read(const char* cmd, ...);

void close_fd_reset(int* fd);
void free_reset(void** pointer);
void fclose_reset(FILE** stream);
int make_temp_file(char* path_template);
void trim_whitespace(char* str);
char* rtrim_blanks(char* str);
char* skip_blanks(char* str);
int ends_with_newline(const char* str);
int chomp_line(char* str);
char* concat_alloc(const char* a, const char* b);
void skip_rest_of_line(FILE* stream);
char* read_long_line(FILE* stream);
int uid_by_name(const char* name);
int uid_by_name_in_file(const char* name, const char* path);
int gid_by_name(const char* name);
