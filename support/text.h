// Small operations on lines of text, for reading what files and commands hold. Strings are
// NUL-terminated and not null; those changed are changed in place. Any thread.
#pragma once

#include <cstdio>

/// Strips TAB, LF, CR and space from both ends.
void trim_whitespace(char* str);
/// Strips spaces and tabs from the end. Returns `str`.
char* rtrim_blanks(char* str);
/// Returns a pointer into `str`, past its leading spaces and tabs.
char* skip_blanks(char* str);
/// Returns 1 when the last character is LF, else 0.
int ends_with_newline(const char* str);
/// Removes one LF from the end and then one CR. Returns 1 when there was an LF, else 0 with nothing
/// removed.
int chomp_line(char* str);
/// Returns `a` and `b` in one new string, to be freed by the caller with free(3); null when memory
/// is lacking.
char* concat_alloc(const char* a, const char* b);
/// Reads `stream` up to and including the next LF, or to its end.
void skip_rest_of_line(FILE* stream);
/// Reads one line of any length, its LF or CR LF removed. Returns it, or null at the end of input.
/// The line belongs to the calling thread's storage and holds until that thread's next call. When
/// memory is lacking the line is cut and its rest skipped.
char* read_long_line(FILE* stream);
