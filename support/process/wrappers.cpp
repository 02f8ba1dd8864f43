// The shapes in which commands are usually given: words as arguments, files to redirect to.
#include <fcntl.h>

#include <cstdarg>
#include <cstdlib>

#include "support/commandRunner.h"
#include "support/handles.h"

namespace {

constexpr int kAppendFlags = O_RDWR | O_CREAT | O_APPEND;
constexpr mode_t kFileMode = 0774;

char backgroundWord[] = "&";

/// A writable command vector, as the core wants it. The words themselves stay the caller's.
class WordVector final {
  public:
    /// `cmd`, the words of `rest` up to its null pointer and, unless null, `last`.
    WordVector(const char* cmd, va_list rest, char* last = nullptr) {
        va_list counted;
        va_copy(counted, rest);
        size_t count = 2;
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyzer loses sight of va_copy
        while (va_arg(counted, char*) != nullptr) {
            ++count;
        }
        va_end(counted);
        if (!reserve_(count)) {
            return;
        }
        add_(const_cast<char*>(cmd));
        while (char* word = va_arg(rest, char*)) {
            add_(word);
        }
        add_(last);
    }

    /// `cmd` in place of the first word of `argv`, and the others. `argv` may be null or empty.
    WordVector(const char* cmd, char** argv) {
        size_t count = 1;
        while (argv != nullptr && argv[0] != nullptr && argv[count] != nullptr) {
            ++count;
        }
        if (!reserve_(count)) {
            return;
        }
        add_(const_cast<char*>(cmd));
        for (size_t index = 1; index < count; ++index) {
            add_(argv[index]);
        }
    }

    ~WordVector() { free(m_words); }
    WordVector(const WordVector&) = delete;
    WordVector& operator=(const WordVector&) = delete;

    /// False when there was no memory for it.
    explicit operator bool() const { return m_words != nullptr; }
    char** data() const { return m_words; }

  private:
    bool reserve_(size_t count) {
        m_words = static_cast<char**>(calloc(count + 1, sizeof(char*)));
        return m_words != nullptr;
    }
    void add_(char* word) { m_words[m_count++] = word; }

    char** m_words = nullptr;
    size_t m_count = 0;
};

/// Opens a file to redirect to or from. A null path and a file that does not open give none, which
/// the core replaces by /dev/null.
support::Descriptor openRedirected(const char* path, int flags) {
    return support::Descriptor(path == nullptr ? -1 : open(path, flags | O_CLOEXEC, kFileMode));
}

int run(const WordVector& words, char doGlob) {
    return words ? exec_pipeline(-1, -1, -1, nullptr, doGlob, words.data()) : -1;
}

int runToFiles(const char* outPath, const char* errPath, const char* logPath, char doGlob,
               const WordVector& words) {
    if (!words) {
        return -1;
    }
    const support::Descriptor out = openRedirected(outPath, kAppendFlags);
    const support::Descriptor err = openRedirected(errPath, kAppendFlags);
    return exec_pipeline(-1, out.get(), err.get(), logPath, doGlob, words.data());
}

FILE* openStream(const char* mode, const char* errPath, const char* logPath, char doGlob,
                 const WordVector& words) {
    return words ? exec_open_stream(mode, errPath, logPath, doGlob, words.data()) : nullptr;
}

}  // namespace

int exec_run(const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest);
    va_end(rest);
    return run(words, 0);
}

int exec_run_glob(const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest);
    va_end(rest);
    return run(words, 1);
}

int exec_run_to_files(const char* out_path, const char* err_path, const char* log_path,
                      const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest);
    va_end(rest);
    return runToFiles(out_path, err_path, log_path, 0, words);
}

int exec_run_to_files_glob(const char* out_path, const char* err_path, const char* log_path,
                           const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest);
    va_end(rest);
    return runToFiles(out_path, err_path, log_path, 1, words);
}

int exec_run_to_files_argv(const char* out_path, const char* err_path, const char* log_path,
                           const char* cmd, char** argv) {
    return runToFiles(out_path, err_path, log_path, 0, WordVector(cmd, argv));
}

int exec_run_redirect_argv(const char* in_path, const char* out_path, const char* err_path,
                           const char* log_path, int out_flags, int err_flags, const char* cmd,
                           char** argv) {
    const WordVector words(cmd, argv);
    if (!words) {
        return -1;
    }
    const support::Descriptor in = openRedirected(in_path, O_RDONLY);
    const support::Descriptor out = openRedirected(out_path, out_flags);
    const support::Descriptor err = openRedirected(err_path, err_flags);
    return exec_pipeline(in.get(), out.get(), err.get(), log_path, 0, words.data());
}

int exec_run_out_err(const char* out_path, const char* err_path, const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest);
    va_end(rest);
    return runToFiles(out_path, err_path, nullptr, 0, words);
}

FILE* exec_popen(const char* mode, const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest, backgroundWord);
    va_end(rest);
    return openStream(mode, nullptr, nullptr, 0, words);
}

FILE* exec_popen_glob(const char* mode, const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest, backgroundWord);
    va_end(rest);
    return openStream(mode, nullptr, nullptr, 1, words);
}

FILE* exec_popen_logged(const char* mode, const char* err_path, const char* log_path,
                        const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest, backgroundWord);
    va_end(rest);
    return openStream(mode, err_path, log_path, 0, words);
}

FILE* exec_popen_logged_glob(const char* mode, const char* err_path, const char* log_path,
                             const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest, backgroundWord);
    va_end(rest);
    return openStream(mode, err_path, log_path, 1, words);
}

FILE* exec_popen_read(const char* cmd, ...) {
    va_list rest;
    va_start(rest, cmd);
    const WordVector words(cmd, rest, backgroundWord);
    va_end(rest);
    return openStream("r", nullptr, nullptr, 0, words);
}
