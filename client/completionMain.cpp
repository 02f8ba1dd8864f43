// Part of the build: makes a completion script of the pattern on standard input.
#include <cstdio>
#include <iostream>
#include <iterator>

#include "client/completion.h"

int main() {
    const std::string text = client::completionText({std::istreambuf_iterator<char>(std::cin), {}});
    return fputs(text.c_str(), stdout) < 0 || fflush(stdout) != 0 ? 1 : 0;
}
