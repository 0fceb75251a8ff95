// Plain file operations the layers above need without knowing the system:
// which version of a file a path names, the regular files of a folder, whole
// small files read and written, folders made, names moved and removed.
// Failures answer false or nothing and leave the reason in lastErrorText().
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// One version of a file: where it lives, how long it is, and when its content
// (modified) or its record (changed) last moved. The changed time also moves
// when a tool rewrites a file and then puts the old modified time back.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t size = 0;
    int64_t modifiedSeconds = 0;
    long modifiedNanoseconds = 0;
    int64_t changedSeconds = 0;
    long changedNanoseconds = 0;

    bool operator==(const FileIdentity& other) const;
    bool operator!=(const FileIdentity& other) const { return !(*this == other); }
};

// The identity of the regular file at path (links followed); nothing for a
// missing path or anything but a regular file.
std::optional<FileIdentity> regularFileIdentity(const std::string& path);

bool isFolder(const std::string& path);

struct FolderFile {
    std::string name;
    int64_t size = 0;
    // Modified time in nanoseconds since 1970.
    int64_t modifiedNanoseconds = 0;
};

// The regular files directly inside folder; empty when it cannot be read.
std::vector<FolderFile> listRegularFiles(const std::string& folder);

// Makes folder and its missing parents (private to the user where made);
// true when it exists as a folder afterwards.
bool makeFolders(const std::string& folder);

// The whole file, or nothing when it is missing, unreadable or longer than
// maxBytes.
std::optional<std::string> readWholeFile(const std::string& path, uint64_t maxBytes);

// Creates path (it must not exist) private to the user, holding bytes.
// Nothing is synced: readers that need more than the rename's atomicity
// check what they read. A failed write removes the part written.
bool writeNewFile(const std::string& path, const std::string& bytes);

// Creates or truncates path and writes bytes, as a program writing its
// output does; a failed write removes the file.
bool writeFileInPlace(const std::string& path, const std::string& bytes);

bool renameFile(const std::string& from, const std::string& to);
bool removeFile(const std::string& path);
// Sets the file's modified time to now.
bool touchFile(const std::string& path);

// Why the last failing call of this thread failed, in words.
std::string lastErrorText();

}  // namespace platform
