#include "support/handles.h"

#include <cstdlib>

void close_fd_reset(int* fd) {
    if (fd != nullptr && *fd >= 0) {
        close(*fd);
        *fd = -1;
    }
}

void free_reset(void** pointer) {
    if (pointer != nullptr && *pointer != nullptr) {
        free(*pointer);
        *pointer = nullptr;
    }
}

void fclose_reset(FILE** stream) {
    if (stream != nullptr && *stream != nullptr) {
        fclose(*stream);
        *stream = nullptr;
    }
}
