// File comparison. Both functions open and close the two files themselves
// and stream through fixed buffers, so memory use does not grow with the
// files. FALSE also stands for a file that can't be opened.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "commonhelpers.h"

namespace {

constexpr int kLineSize = 1024;
constexpr size_t kBlockSize = 1024;

// stdio buffer per file for the binary comparison: the blocks stay at 1,024
// bytes, but the system is asked for this much at a time. Larger buffers
// gain next to nothing and cost the caller's stack.
constexpr size_t kStreamBufferSize = 16 * 1024;

// fopen() for reading, except that a FIFO without a writer does not block
// the open: it reads as an empty file instead of hanging the comparison.
FILE* OpenForReading(const char* szFile, const char* szMode) {
  const int fd = open(szFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    return nullptr;
  }
  FILE* pfile = nullptr;
  const int flags = fcntl(fd, F_GETFL);
  if (flags != -1 && fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != -1) {
    pfile = fdopen(fd, szMode);
  }
  if (pfile == nullptr) {
    close(fd);
  }
  return pfile;
}

void CloseIfOpen(FILE* pfile) {
  if (pfile != nullptr) {
    fclose(pfile);
  }
}

}  // namespace

BOOL CompareTextFiles(const char* szFile1, const char* szFile2) {
  FILE* pfile1 = OpenForReading(szFile1, "rt");
  FILE* pfile2 = OpenForReading(szFile2, "rt");
  BOOL fEqual = FALSE;
  if (pfile1 != nullptr && pfile2 != nullptr) {
    CHAR rgchLine1[kLineSize];
    CHAR rgchLine2[kLineSize];
    for (;;) {
      // A read error counts as the end of that file's lines.
      const bool fLine1 = fgets(rgchLine1, kLineSize, pfile1) != nullptr;
      const bool fLine2 = fgets(rgchLine2, kLineSize, pfile2) != nullptr;
      if (!fLine1 || !fLine2) {
        fEqual = fLine1 == fLine2 ? TRUE : FALSE;
        break;
      }
      ChopStringEnd(rgchLine1);
      ChopStringEnd(rgchLine2);
      if (strcmp(rgchLine1, rgchLine2) != 0) {
        break;
      }
    }
  }
  CloseIfOpen(pfile1);
  CloseIfOpen(pfile2);
  return fEqual;
}

BOOL CompareBinFiles(const char* szFile1, const char* szFile2) {
  // Declared before the streams: a buffer given to setvbuf must outlive fclose.
  char rgchStream1[kStreamBufferSize];
  char rgchStream2[kStreamBufferSize];
  FILE* pfile1 = OpenForReading(szFile1, "rb");
  FILE* pfile2 = OpenForReading(szFile2, "rb");
  BOOL fEqual = FALSE;
  if (pfile1 != nullptr && pfile2 != nullptr) {
    setvbuf(pfile1, rgchStream1, _IOFBF, sizeof rgchStream1);
    setvbuf(pfile2, rgchStream2, _IOFBF, sizeof rgchStream2);
    BYTE rgbBlock1[kBlockSize];
    BYTE rgbBlock2[kBlockSize];
    bool fDiffer = false;
    while (!fDiffer && !feof(pfile1) && !feof(pfile2)) {
      const size_t cnRead1 = fread(rgbBlock1, 1, kBlockSize, pfile1);
      const size_t cnRead2 = fread(rgbBlock2, 1, kBlockSize, pfile2);
      // A short read without the end of the file is a read error (a
      // directory, say): it ends the comparison instead of looping on it.
      fDiffer = cnRead1 != cnRead2 || memcmp(rgbBlock1, rgbBlock2, cnRead1) != 0 ||
                (cnRead1 < kBlockSize && !(feof(pfile1) && feof(pfile2)));
    }
    fEqual = !fDiffer && feof(pfile1) && feof(pfile2) ? TRUE : FALSE;
  }
  CloseIfOpen(pfile1);
  CloseIfOpen(pfile2);
  return fEqual;
}
