// File comparison. Both functions open and close the two files themselves
// with fopen(), so a FIFO blocks until a writer comes, as it does for cmp.
// They stream through four buffers of 1,024 bytes on the stack and stdio's
// own buffers, so memory use does not grow with the files and the answer
// comes as soon as the first differing line or block has arrived. FALSE also
// stands for a file that can't be opened.
#include <cstdio>
#include <cstring>

#include <commonhelpers/commonhelpers.h>

namespace {

// "e" (close on exec), so that a child forked meanwhile by another thread does
// not inherit the files; Windows' C library knows no such letter and refuses
// modes with letters it does not know.
#ifdef _WIN32
constexpr char kTextMode[] = "rt";
constexpr char kBinaryMode[] = "rb";
#else
constexpr char kTextMode[] = "rte";
constexpr char kBinaryMode[] = "rbe";
#endif

constexpr int kLineSize = 1024;
constexpr size_t kBlockSize = 1024;

void CloseIfOpen(FILE* pfile) {
  if (pfile != nullptr) {
    fclose(pfile);
  }
}

}  // namespace

BOOL CompareTextFiles(const char* szFile1, const char* szFile2) {
  FILE* pfile1 = fopen(szFile1, kTextMode);
  FILE* pfile2 = fopen(szFile2, kTextMode);
  BOOL fEqual = FALSE;
  if (pfile1 != nullptr && pfile2 != nullptr) {
    char rgchLine1[kLineSize];
    char rgchLine2[kLineSize];
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
  FILE* pfile1 = fopen(szFile1, kBinaryMode);
  FILE* pfile2 = fopen(szFile2, kBinaryMode);
  BOOL fEqual = FALSE;
  if (pfile1 != nullptr && pfile2 != nullptr) {
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
