#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/file_descriptor.h"
#include "platform/platform.h"

namespace platform {
namespace {

int64_t nanosecondsOf(const struct timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

bool writeCreated(const std::string& path, int flags, mode_t mode, const std::string& bytes) {
    FileDescriptor file(::open(path.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, mode));
    if (file.get() < 0) {
        return keepErrorAndFail();
    }
    if (!writeAll(file.get(), bytes) || !file.close()) {
        keepErrorAndFail();
        ::unlink(path.c_str());
        return false;
    }
    return true;
}

}  // namespace

bool FileIdentity::operator==(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modifiedSeconds == other.modifiedSeconds &&
           modifiedNanoseconds == other.modifiedNanoseconds &&
           changedSeconds == other.changedSeconds && changedNanoseconds == other.changedNanoseconds;
}

std::optional<FileIdentity> regularFileIdentity(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        keepErrorAndFail();
        return std::nullopt;
    }
    if (!S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    FileIdentity identity;
    identity.device = static_cast<uint64_t>(info.st_dev);
    identity.inode = static_cast<uint64_t>(info.st_ino);
    identity.size = static_cast<int64_t>(info.st_size);
    identity.modifiedSeconds = static_cast<int64_t>(info.st_mtim.tv_sec);
    identity.modifiedNanoseconds = info.st_mtim.tv_nsec;
    identity.changedSeconds = static_cast<int64_t>(info.st_ctim.tv_sec);
    identity.changedNanoseconds = info.st_ctim.tv_nsec;
    return identity;
}

bool isFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::vector<FolderFile> listRegularFiles(const std::string& folder) {
    std::vector<FolderFile> files;
    std::unique_ptr<DIR, FolderCloser> listing(::opendir(folder.c_str()));
    if (!listing) {
        keepErrorAndFail();
        return files;
    }
    const int folderFd = ::dirfd(listing.get());
    while (const struct dirent* entry = ::readdir(listing.get())) {
        struct stat info {};
        if (entry->d_name[0] == '.' ||
            ::fstatat(folderFd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(info.st_mode)) {
            continue;
        }
        files.push_back(
            {entry->d_name, static_cast<int64_t>(info.st_size), nanosecondsOf(info.st_mtim)});
    }
    return files;
}

bool makeFolders(const std::string& folder) {
    if (folder.empty()) {
        errno = ENOENT;
        return keepErrorAndFail();
    }
    if (isFolder(folder)) {
        return true;
    }
    const size_t cut = folder.find_last_of(kPathSeparatorChar);
    if (cut != std::string::npos && cut > 0 && !makeFolders(folder.substr(0, cut))) {
        return false;
    }
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return keepErrorAndFail();
    }
    if (!isFolder(folder)) {
        errno = ENOTDIR;
        return keepErrorAndFail();
    }
    return true;
}

std::optional<std::string> readWholeFile(const std::string& path, uint64_t maxBytes) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (file.get() < 0 || ::fstat(file.get(), &info) != 0) {
        keepErrorAndFail();
        return std::nullopt;
    }
    if (static_cast<uint64_t>(info.st_size) > maxBytes) {
        errno = EFBIG;
        keepErrorAndFail();
        return std::nullopt;
    }
    std::string bytes(static_cast<size_t>(info.st_size), '\0');
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::read(file.get(), &bytes[done], bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            // A file cut shorter while it was read is not the file that was opened.
            keepErrorAndFail();
            return std::nullopt;
        }
        done += static_cast<size_t>(n);
    }
    return bytes;
}

bool writeNewFile(const std::string& path, const std::string& bytes) {
    return writeCreated(path, O_EXCL, 0600, bytes);
}

bool writeFileInPlace(const std::string& path, const std::string& bytes) {
    return writeCreated(path, O_TRUNC, 0666, bytes);
}

bool renameFile(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 || keepErrorAndFail();
}

bool removeFile(const std::string& path) {
    return ::unlink(path.c_str()) == 0 || keepErrorAndFail();
}

bool touchFile(const std::string& path) {
    return ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0) == 0 || keepErrorAndFail();
}

std::string lastErrorText() {
    return std::strerror(keptError());
}

}  // namespace platform
