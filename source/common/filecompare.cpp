// File comparison. Both functions open and close the two files themselves
// and stream through fixed buffers, so memory use does not grow with the
// files. FALSE also stands for a file that can't be opened.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <commonhelpers/commonhelpers.h>

namespace {

constexpr int kLineSize = 1024;
constexpr size_t kBlockSize = 1024;

// Read size per file (the stdio buffer of the binary comparison, the line
// buffer of the text comparison): the lines and blocks compared stay at most
// 1,024 bytes, but the system is asked for this much at a time. Larger
// buffers gain next to nothing and cost the caller's stack.
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

// The lines of a stream exactly as fgets() into a buffer of kLineSize bytes
// would cut them (up to and including a line feed, or kLineSize - 1 bytes,
// or the last bytes before the end of the file), but read in large blocks
// and handed out in place instead of copied.
struct LineReader {
  FILE* pfile;
  char* rgchBuffer;  // kStreamBufferSize bytes
  size_t begin;
  size_t end;
  bool fDrained;  // the end of the file or a read error has been met
  bool fError;
};

// Moves the next line into `*ppchLine` and `*pcbLine`. False when no line is
// left; a line that a read error cuts short counts as none, as with fgets().
bool NextLine(LineReader& reader, const char** ppchLine, size_t* pcbLine) {
  constexpr size_t kMaxLine = kLineSize - 1;
  if (!reader.fDrained && reader.end - reader.begin < kMaxLine) {
    memmove(reader.rgchBuffer, reader.rgchBuffer + reader.begin, reader.end - reader.begin);
    reader.end -= reader.begin;
    reader.begin = 0;
    const size_t cbWanted = kStreamBufferSize - reader.end;
    const size_t cbRead = fread(reader.rgchBuffer + reader.end, 1, cbWanted, reader.pfile);
    reader.end += cbRead;
    if (cbRead < cbWanted) {
      reader.fDrained = true;
      reader.fError = ferror(reader.pfile) != 0;
    }
  }
  const char* pchLine = reader.rgchBuffer + reader.begin;
  const size_t cbAvailable = std::min(reader.end - reader.begin, kMaxLine);
  const char* pchLineFeed = static_cast<const char*>(memchr(pchLine, '\n', cbAvailable));
  size_t cbLine = cbAvailable;
  if (pchLineFeed != nullptr) {
    cbLine = static_cast<size_t>(pchLineFeed - pchLine) + 1;
  } else if (cbAvailable == 0 || (cbAvailable < kMaxLine && reader.fError)) {
    return false;
  }
  reader.begin += cbLine;
  *ppchLine = pchLine;
  *pcbLine = cbLine;
  return true;
}

// The length of a line as ChopStringEnd() leaves it once it is a C string:
// up to its first zero byte, less the trailing spaces, CRs and LFs.
size_t ChoppedLength(const char* pchLine, size_t cbLine) {
  const char* pchZero = static_cast<const char*>(memchr(pchLine, '\0', cbLine));
  size_t cb = pchZero != nullptr ? static_cast<size_t>(pchZero - pchLine) : cbLine;
  while (cb > 0 && (pchLine[cb - 1] == ' ' || pchLine[cb - 1] == '\r' || pchLine[cb - 1] == '\n')) {
    --cb;
  }
  return cb;
}

}  // namespace

BOOL CompareTextFiles(const char* szFile1, const char* szFile2) {
  FILE* pfile1 = OpenForReading(szFile1, "rt");
  FILE* pfile2 = OpenForReading(szFile2, "rt");
  BOOL fEqual = FALSE;
  if (pfile1 != nullptr && pfile2 != nullptr) {
    char rgchBuffer1[kStreamBufferSize];
    char rgchBuffer2[kStreamBufferSize];
    LineReader reader1 = {pfile1, rgchBuffer1, 0, 0, false, false};
    LineReader reader2 = {pfile2, rgchBuffer2, 0, 0, false, false};
    for (;;) {
      const char* pchLine1 = nullptr;
      const char* pchLine2 = nullptr;
      size_t cbLine1 = 0;
      size_t cbLine2 = 0;
      const bool fLine1 = NextLine(reader1, &pchLine1, &cbLine1);
      const bool fLine2 = NextLine(reader2, &pchLine2, &cbLine2);
      if (!fLine1 || !fLine2) {
        fEqual = fLine1 == fLine2 ? TRUE : FALSE;
        break;
      }
      cbLine1 = ChoppedLength(pchLine1, cbLine1);
      cbLine2 = ChoppedLength(pchLine2, cbLine2);
      if (cbLine1 != cbLine2 || memcmp(pchLine1, pchLine2, cbLine1) != 0) {
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
