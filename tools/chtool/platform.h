// Everything of chtool that differs between POSIX systems and Windows: raw
// reads of files and of standard input, what kind of file a name is, and a
// stdio stream over bytes in memory. The rest of chtool is portable C++17.
#ifndef CHTOOL_PLATFORM_H_
#define CHTOOL_PLATFORM_H_

#include <cstddef>
#include <cstdio>
#include <string>

namespace chtool {
namespace platform {

// The standard streams carry bytes unchanged (on Windows they would otherwise
// turn LF into CR LF and stop at Ctrl-Z).
void UseBinaryStandardStreams();

// Opens `path` for reading bytes; "-" is standard input. -1 with errno set.
// With `text`, the file is read as fopen()'s mode "rt" reads it: on Windows
// CR LF comes as LF and a Ctrl-Z byte ends the file; elsewhere nothing changes.
int OpenForReading(const std::string& path, bool text = false);

// Reads at most `size` bytes, returning as soon as any are there (a pipe is
// not waited on until the buffer is full): their count, 0 at the end, or -1
// with errno set.
long ReadSome(int fd, char* buffer, size_t size);

// Closes what OpenForReading() opened; standard input stays open.
void Close(int fd);

enum class Kind { kUnknown, kDirectory, kRegular, kFifo, kOther };

struct FileInfo {
  Kind kind;
  bool empty;            // a regular file that holds no bytes (or says so)
  int error;             // errno when it could not be looked at (kUnknown)
  std::string identity;  // the same for two names of one file
};

// Looks at `path` ("-" for standard input) without opening it, so that a
// FIFO is not waited on.
FileInfo Inspect(const std::string& path);

// A stream that reads `bytes`, which must outlive it and not be empty; null
// with errno set. Close it with fclose().
FILE* OpenMemoryStream(std::string& bytes);

}  // namespace platform
}  // namespace chtool

#endif  // CHTOOL_PLATFORM_H_
