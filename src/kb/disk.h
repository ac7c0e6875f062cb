// What the operating systems do each in its own way; disk_posix.cpp or disk_windows.cpp is built.
#pragma once

#include <cstdio>
#include <span>

namespace vask {

// Replace `path` by the file to which its links lead, which need not exist yet. False if that does not fit or
// the links form a circle.
bool FollowLinks(std::span<char> path);

// Whether there is a file at `path`, or where its links lead, and no folder or device.
bool IsRegularFile(const char* path);

// Whether an open file is a folder.
bool IsFolder(FILE* file);

// Give the new file the mode of the one at `path`. Some file systems cannot do that, but have only one mode.
bool TakeMode(const char* path, FILE* file);

// Have the disk store what has been written.
bool Store(FILE* file);

// Give the file at `from` the name `to`, in place of the one that has it, in one step.
bool Replace(const char* from, const char* to);

// Readable and writable for all: the storage is shared.
bool MakeFolder(const char* name);

}  // namespace vask
