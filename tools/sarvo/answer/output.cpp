// Writing of results.
#include "answer/output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "errors.h"

namespace command {
namespace {

// The one unfinished file, for the handler: a path that is complete before the length says so.
constexpr size_t longest_path = 4096;
char unfinished[longest_path];
volatile std::sig_atomic_t is_unfinished = 0;

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ};

void remove_and_end(int signal) {
    if (is_unfinished) unlink(unfinished);
    std::signal(signal, SIG_DFL);
    raise(signal);
}

// Signals that somebody else waits for, or that are ignored, are left alone.
void watch_signals() {
    for (const int signal : ending_signals) {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL)
            std::signal(signal, remove_and_end);
    }
}

bool is_written_at_once(const std::string &path) {
    struct stat status;
    return path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
}

// Where a link leads, so that the link stays.
std::string resolved(const std::string &path) {
    char *real = realpath(path.c_str(), nullptr);
    const std::string found = real ? real : path;
    std::free(real);
    return found;
}

} // namespace

OutputFile::OutputFile(const std::string &path) : path_(path) {
    if (is_written_at_once(path)) {
        file_ = path == "-" ? stdout : std::fopen(path.c_str(), "wb");
        if (!file_) fail();
        return;
    }
    const std::string target = resolved(path), temporary = target + ".unfinished-" + std::to_string(getpid());
    struct stat status;
    const bool exists = stat(target.c_str(), &status) == 0;
    if (exists && access(target.c_str(), W_OK) != 0) fail();
    const int descriptor =
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? status.st_mode & 0777 : 0666);
    if (descriptor < 0) fail();
    path_ = target;
    temporary_ = temporary;
    if (!is_unfinished && temporary_.size() < longest_path) {
        std::memcpy(unfinished, temporary_.c_str(), temporary_.size() + 1);
        is_unfinished = 1;
        watch_signals();
    }
    file_ = fdopen(descriptor, "wb");
    if (!file_) fail();
}

OutputFile::~OutputFile() {
    if (file_ && file_ != stdout) std::fclose(file_);
    if (temporary_.empty()) return;
    unlink(temporary_.c_str());
    if (temporary_ == unfinished) is_unfinished = 0;
}

void OutputFile::fail() const {
    throw file_error((path_ == "-" ? "standard output" : path_) + ": cannot be written: " + std::strerror(errno));
}

void OutputFile::write(const void *data, size_t size) {
    if (size > 0 && std::fwrite(data, 1, size, file_) != size) fail();
}

void OutputFile::finish() {
    FILE *file = file_;
    file_ = nullptr;
    if ((file == stdout ? std::fflush(file) : std::fclose(file)) != 0) fail();
    if (temporary_.empty()) return;
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) fail();
    if (temporary_ == unfinished) is_unfinished = 0;
    temporary_.clear();
}

void write_out(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw file_error("the result could not be written");
}

void write_file(const std::string &text, const std::string &path) {
    OutputFile file(path);
    file.write(text.data(), text.size());
    file.finish();
}

} // namespace command
