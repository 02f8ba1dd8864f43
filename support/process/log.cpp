#include "support/process/log.h"

namespace support {

CommandLog::CommandLog(const char* path, pid_t caller) noexcept
    : m_file(path == nullptr ? nullptr : fopen(path, "a+e")), m_caller(caller) {}

void CommandLog::warn(const char* text, const char* subject) const noexcept {
    write_("WARN", text, subject);
}

void CommandLog::error(const char* text, const char* subject) const noexcept {
    write_("ERROR", text, subject);
}

void CommandLog::write_(const char* level, const char* text, const char* subject) const noexcept {
    if (m_file == nullptr) {
        return;
    }
    fprintf(m_file.get(), "[%s] [%d] %s%s\n", level, m_caller, text,
            subject == nullptr ? "(null)" : subject);
    fflush(m_file.get());  // children leave without flushing
}

}  // namespace support
