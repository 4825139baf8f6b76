// The POSIX and Windows sides of platform.h. Windows has no inode numbers in
// stat(), so there two names are one file only when they are spelled alike.
#include "platform.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace chtool {
namespace platform {

namespace {

// What stat() or fstat() told: `status`, and on success `mode` and `size`.
FileInfo Describe(int status, int mode, long long size, const std::string& identity) {
  FileInfo info{Kind::kOther, false, 0, identity};
  if (status != 0) {
    info.kind = Kind::kUnknown;
    info.error = errno;
  } else if ((mode & S_IFMT) == S_IFDIR) {
    info.kind = Kind::kDirectory;
  } else if ((mode & S_IFMT) == S_IFREG) {
    info.kind = Kind::kRegular;
    info.empty = size == 0;
  } else if ((mode & S_IFMT) == S_IFIFO) {
    info.kind = Kind::kFifo;
  }
  return info;
}

}  // namespace

#ifdef _WIN32

void UseBinaryStandardStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

int OpenForReading(const std::string& path, bool text) {
  const int mode = text ? _O_TEXT : _O_BINARY;
  if (path != "-") return _open(path.c_str(), _O_RDONLY | mode);
  _setmode(0, mode);
  return 0;
}

long ReadSome(int fd, char* buffer, size_t size) {
  return _read(fd, buffer, static_cast<unsigned>(size < (1u << 30) ? size : (1u << 30)));
}

void Close(int fd) {
  if (fd != 0) _close(fd);
}

FileInfo Inspect(const std::string& path) {
  struct _stat64 info {};
  const int status = path == "-" ? _fstat64(0, &info) : _stat64(path.c_str(), &info);
  return Describe(status, info.st_mode, info.st_size, path);
}

// Windows has no fmemopen, and its tmpfile() writes to the root of the drive,
// which a user may not: a file in the user's temporary directory, removed
// when it is closed ("D").
FILE* OpenMemoryStream(std::string& bytes) {
  char directory[MAX_PATH + 1];
  char name[MAX_PATH + 1];
  FILE* file = nullptr;
  const DWORD length = GetTempPathA(sizeof directory, directory);
  if (length > 0 && length <= MAX_PATH && GetTempFileNameA(directory, "cht", 0, name) != 0) {
    file = fopen(name, "w+bD");
  }
  if (file != nullptr &&
      (fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || fseek(file, 0, SEEK_SET))) {
    fclose(file);
    file = nullptr;
  }
  if (file == nullptr) errno = EIO;
  return file;
}

#else

void UseBinaryStandardStreams() {}

int OpenForReading(const std::string& path, bool /*text*/) {
  return path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

long ReadSome(int fd, char* buffer, size_t size) {
  ssize_t got;
  do {
    got = read(fd, buffer, size);
  } while (got < 0 && errno == EINTR);
  return static_cast<long>(got);
}

void Close(int fd) {
  if (fd != STDIN_FILENO) close(fd);
}

FileInfo Inspect(const std::string& path) {
  struct stat info {};
  const int status = path == "-" ? fstat(STDIN_FILENO, &info) : stat(path.c_str(), &info);
  return Describe(status, static_cast<int>(info.st_mode), static_cast<long long>(info.st_size),
                  std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino));
}

FILE* OpenMemoryStream(std::string& bytes) { return fmemopen(&bytes[0], bytes.size(), "rb"); }

#endif

}  // namespace platform
}  // namespace chtool
