// Reads a record file whose records are an integer id, two UTF-16 texts and
// a flag (samples/records.bin of the source tree is one) and prints one
// record per line. Shows the
// pattern every caller of the reader follows: tell a failure by the result
// code, never by the value, and free every returned text, also on failure.
//   usage: read_records FILE
#include <commonhelpers/commonhelpers.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Reads one record; false at the end of the file or on a malformed record
// (then `result` says which).
bool ReadRecord(FILE* file, RResult* result) {
  const int id = Read7BitEncodedInt(file, result);
  if (*result != RESULT_SUCCEEDED) return false;
  char* szName = GetBinString(file, result);
  char* szText = *result == RESULT_SUCCEEDED ? GetBinString(file, result) : nullptr;
  const BOOL flag = *result == RESULT_SUCCEEDED ? ReadBinBool(file, result) : FALSE;
  const bool ok = *result == RESULT_SUCCEEDED;
  if (ok) printf("%d\t%s\t%s\t%s\n", id, szName, szText, flag != FALSE ? "yes" : "no");
  free(szName);
  free(szText);
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fputs("usage: read_records FILE\n", stderr);
    return 2;
  }
  FILE* file = fopen(argv[1], "rb");
  if (file == nullptr) {
    perror(argv[1]);
    return 1;
  }
  RResult result = RESULT_SUCCEEDED;
  long records = 0;
  for (int ch; (ch = fgetc(file)) != EOF; ++records) {
    ungetc(ch, file);
    if (!ReadRecord(file, &result)) break;
  }
  const bool complete = result == RESULT_SUCCEEDED;
  fclose(file);
  if (!complete) {
    fprintf(stderr, "read_records: %s: record %ld is malformed or cut short\n", argv[1],
            records + 1);
    return 1;
  }
  return 0;
}
