#include "platform/durable_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

#include "platform/file_descriptor.h"
#include "platform/platform.h"

namespace platform {
namespace {

std::atomic<unsigned> temporaryCounter{0};

}  // namespace

std::string temporaryPathBeside(const std::string& target) {
    return target + ".part" + std::to_string(processId()) + "-" +
           std::to_string(temporaryCounter.fetch_add(1));
}

bool syncFile(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.get() >= 0 && ::fsync(file.get()) == 0;
}

bool syncDirectory(const std::string& folder) {
    FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return directory.get() >= 0 && ::fsync(directory.get()) == 0;
}

std::string parentFolder(const std::string& path) {
    const size_t cut = path.find_last_of(kPathSeparatorChar);
    if (cut == std::string::npos) {
        return ".";
    }
    return cut == 0 ? std::string(kPathSeparator) : path.substr(0, cut);
}

bool commitTemporaryFile(const std::string& temporary, const std::string& target) {
    if (!syncFile(temporary) || std::rename(temporary.c_str(), target.c_str()) != 0) {
        std::remove(temporary.c_str());
        return false;
    }
    // The rename has happened; a folder that cannot be synced leaves it in the
    // page cache only, which a caller cannot undo, so it still counts.
    syncDirectory(parentFolder(target));
    return true;
}

bool writeFileDurably(const std::string& target, std::string_view bytes) {
    DurableFileWriter file(target);
    file.append(bytes);
    return file.commit();
}

DurableFileWriter::DurableFileWriter(const std::string& target)
    : target_(target), temporary_(temporaryPathBeside(target)) {
    fd_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    failed_ = fd_ < 0;
}

DurableFileWriter::~DurableFileWriter() {
    if (fd_ >= 0) {
        abandon();
    }
}

bool DurableFileWriter::append(std::string_view bytes) {
    if (!failed_ && !writeAll(fd_, bytes)) {
        failed_ = true;
    }
    return !failed_;
}

void DurableFileWriter::abandon() {
    ::close(fd_);
    fd_ = -1;
    std::remove(temporary_.c_str());
}

bool DurableFileWriter::commit() {
    if (failed_ || fd_ < 0) {
        if (fd_ >= 0) {
            abandon();
        }
        return false;
    }
    FileDescriptor file(fd_);
    fd_ = -1;
    if (::fsync(file.get()) != 0 || !file.close() ||
        std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        std::remove(temporary_.c_str());
        return false;
    }
    syncDirectory(parentFolder(target_));
    return true;
}

}  // namespace platform
