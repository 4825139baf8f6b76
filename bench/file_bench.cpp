// The stream readers and the file comparisons. cmp runs as a child process,
// so these benchmarks are timed on the wall clock, for both sides alike.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "chtool/record_form.h"
#include "corpus.h"

namespace {

using bench::TextKind;

size_t RecordCount() { return bench::QuickMode() ? 10000 : 1000000; }
size_t BinFileSize() { return bench::QuickMode() ? (1 << 20) : (size_t{256} << 20); }
size_t TextFileSize() { return bench::QuickMode() ? (1 << 20) : (size_t{64} << 20); }

// Records of a 7-bit-encoded number and a length-prefixed string of 4 to 40
// units of mixed text.
const std::string& RecordFile() {
  static std::string path;
  if (path.empty()) {
    path = bench::TempPath("records.bin");
    const std::vector<USHORT> text = bench::Utf16Text(bench::Utf8Text(TextKind::kMixed, 64 << 10));
    FILE* pfile = fopen(path.c_str(), "wb");
    size_t start = 0;
    for (size_t k = 0; k < RecordCount(); ++k) {
      const size_t cnUnits = 4 + k % 37;
      if (start + cnUnits >= text.size() - 1) start = 0;
      const std::string prefix = chtool::Encode7Bit(static_cast<int32_t>(k)) +
                                 chtool::Encode7Bit(static_cast<int32_t>(cnUnits * 2));
      fwrite(prefix.data(), 1, prefix.size(), pfile);
      fwrite(text.data() + start, sizeof(USHORT), cnUnits, pfile);
      start += cnUnits;
    }
    fclose(pfile);
  }
  return path;
}

long FileSize(const std::string& path) {
  FILE* pfile = fopen(path.c_str(), "rb");
  fseek(pfile, 0, SEEK_END);
  const long cbFile = ftell(pfile);
  fclose(pfile);
  return cbFile;
}

// Two files with the same `size` bytes: the corpus text of `kind` repeated,
// so that a text file has real lines.
std::pair<std::string, std::string> EqualFiles(const char* name, TextKind kind, size_t size) {
  const std::string block = bench::Utf8Text(kind, 1 << 20);
  std::pair<std::string, std::string> paths(bench::TempPath(std::string(name) + ".1"),
                                            bench::TempPath(std::string(name) + ".2"));
  for (const std::string& path : {paths.first, paths.second}) {
    FILE* pfile = fopen(path.c_str(), "wb");
    for (size_t cb = 0; cb < size; cb += block.size()) {
      fwrite(block.data(), 1, std::min(block.size(), size - cb), pfile);
    }
    fclose(pfile);
  }
  return paths;
}

void RegisterFileBenchmark(const char* function, const char* impl, const char* input, size_t size,
                           void (*body)(benchmark::State&)) {
  benchmark::RegisterBenchmark(bench::BenchName(function, impl, input, size).c_str(), body)
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
}

void ReadRecordsOurs(benchmark::State& state) {
  const std::string& path = RecordFile();
  const size_t cnRecords = RecordCount();
  for (auto _ : state) {
    FILE* pfile = fopen(path.c_str(), "rb");
    size_t cbText = 0;
    for (size_t k = 0; k < cnRecords; ++k) {
      RResult result;
      benchmark::DoNotOptimize(Read7BitEncodedInt(pfile, &result));
      char* szText = GetBinString(pfile, &result);
      cbText += szText[0];
      free(szText);
    }
    benchmark::DoNotOptimize(cbText);
    fclose(pfile);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * FileSize(path));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * RecordCount()));
}

// The floor: the same bytes read in large blocks, nothing decoded.
void ReadRecordsFread(benchmark::State& state) {
  const std::string& path = RecordFile();
  std::vector<char> buffer(64 << 10);
  for (auto _ : state) {
    FILE* pfile = fopen(path.c_str(), "rb");
    while (fread(buffer.data(), 1, buffer.size(), pfile) == buffer.size()) {
    }
    fclose(pfile);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * FileSize(path));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * RecordCount()));
}

template <BOOL (*Compare)(const char*, const char*), TextKind kKind, size_t (*Size)()>
void CompareOurs(benchmark::State& state) {
  static const auto paths = EqualFiles(kKind == TextKind::kEnglish ? "text" : "bin", kKind, Size());
  for (auto _ : state) {
    if (Compare(paths.first.c_str(), paths.second.c_str()) != TRUE) {
      state.SkipWithError("equal files compared unequal");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Size()));
}

template <TextKind kKind, size_t (*Size)()>
void CompareCmp(benchmark::State& state) {
  static const auto paths = EqualFiles(kKind == TextKind::kEnglish ? "text" : "bin", kKind, Size());
  const std::string command = "cmp -s '" + paths.first + "' '" + paths.second + "'";
  for (auto _ : state) {
    if (system(command.c_str()) != 0) {
      state.SkipWithError("cmp failed");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Size()));
}

bool RegisterAll() {
  RegisterFileBenchmark("ReadRecords", "ours", "records", RecordCount(), ReadRecordsOurs);
  RegisterFileBenchmark("ReadRecords", "fread", "records", RecordCount(), ReadRecordsFread);
  RegisterFileBenchmark("CompareBinFiles", "ours", "equal", BinFileSize(),
                        CompareOurs<CompareBinFiles, TextKind::kMixed, BinFileSize>);
  RegisterFileBenchmark("CompareBinFiles", "cmp", "equal", BinFileSize(),
                        CompareCmp<TextKind::kMixed, BinFileSize>);
  RegisterFileBenchmark("CompareTextFiles", "ours", "equal", TextFileSize(),
                        CompareOurs<CompareTextFiles, TextKind::kEnglish, TextFileSize>);
  RegisterFileBenchmark("CompareTextFiles", "cmp", "equal", TextFileSize(),
                        CompareCmp<TextKind::kEnglish, TextFileSize>);
  return true;
}

const bool registered = RegisterAll();

}  // namespace
