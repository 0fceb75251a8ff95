// Files that survive a crash or a power cut whole: the new text goes to a
// temporary file in the target's folder, is synced, renamed over the target,
// and the folder is synced so the rename itself is on disk. A reader then
// finds either the previous file or the complete new one, never a part.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// A name beside target that no other process or call uses at the same time.
std::string temporaryPathBeside(const std::string& target);

// Flushes a file's data (and the metadata needed to read it) to the disk.
bool syncFile(const std::string& path);

// Flushes a folder's entries, so names created or renamed in it persist.
bool syncDirectory(const std::string& folder);

// The folder part of a path ("." when it has none).
std::string parentFolder(const std::string& path);

// For writers that make the temporary file themselves (libxml2, MLT's xml
// consumer): syncs temporary, renames it over target and syncs the folder.
// On failure the temporary file is removed and target is untouched.
bool commitTemporaryFile(const std::string& temporary, const std::string& target);

// Writes bytes to target through a synced temporary file.
bool writeFileDurably(const std::string& target, std::string_view bytes);

// The same for a file written in pieces as they are made, so that a large
// document never has to be held whole: the pieces go to a temporary file
// beside the target, and commit syncs it, renames it over the target and
// syncs the folder. Without a commit the temporary file is removed and the
// target stays as it was.
class DurableFileWriter {
  public:
    explicit DurableFileWriter(const std::string& target);
    ~DurableFileWriter();
    DurableFileWriter(const DurableFileWriter&) = delete;
    DurableFileWriter& operator=(const DurableFileWriter&) = delete;

    // False once a piece could not be written; later pieces are dropped.
    bool append(std::string_view bytes);
    // False when anything failed; the target is then untouched.
    bool commit();

  private:
    void abandon();

    std::string target_;
    std::string temporary_;
    int fd_ = -1;
    bool failed_ = false;
};

}  // namespace platform
