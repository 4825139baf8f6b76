// corpus.h: the inputs every benchmark shares.
//
// Texts come from the shared corpus (english.utf8.txt, chinese-lipsum.utf8.txt
// and chinese.utf8.txt in `../shared/corpus/` next to the repository, or in
// $CH_CORPUS_DIR); when a file is missing, generated text of the same kind
// stands in, so the suite runs anywhere.
#ifndef COMMONHELPERS_BENCH_CORPUS_H_
#define COMMONHELPERS_BENCH_CORPUS_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace bench {

enum class TextKind {
  kEnglish,  // almost all ASCII
  kChinese,  // almost all CJK, three bytes a character
  kMixed,    // CJK among ASCII, with full-width forms
};

constexpr TextKind kTextKinds[] = {TextKind::kEnglish, TextKind::kChinese, TextKind::kMixed};

// A sentence, a page, and the two sizes of the scaling check.
constexpr size_t kSizes[] = {64, 4 << 10, 64 << 10, 1 << 20};

// A short sentence or a clause, less than one block at every SIMD level: the
// conversions run at this size too.
constexpr size_t kShortSentence = 24;

const char* TextName(TextKind kind);

// At most `size` bytes of UTF-8 text of `kind`, cut at a character boundary
// (so up to three bytes short): the start of the corpus, and beyond 64 KB
// the 64 KB text repeated.
std::string Utf8Text(TextKind kind, size_t size);

// `text` as zero-terminated UTF-16.
std::vector<USHORT> Utf16Text(const std::string& text);

// True when $CH_BENCH_QUICK is set: the file benchmarks use small files, for
// a smoke run that only proves the suite still works.
bool QuickMode();

// A fresh path in a temporary directory that is removed when the process
// ends, with everything in it.
std::string TempPath(const std::string& name);

// "<function>/<implementation>/<input>/<size>": the name scheme report.sh reads.
std::string BenchName(const char* function, const char* impl, const std::string& input,
                      size_t size);

// Registers `body(state, text)` under BenchName() for the UTF-8 text of
// `kind` and `size`; throughput counts the bytes of that UTF-8 text, whatever
// form the body works on, so that every line of a group compares alike.
template <typename Body>
void RegisterOnText(const char* function, const char* impl, TextKind kind, size_t size, Body body) {
  benchmark::RegisterBenchmark(BenchName(function, impl, TextName(kind), size).c_str(),
                               [=](benchmark::State& state) {
                                 const std::string text = Utf8Text(kind, size);
                                 body(state, text);
                                 state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                                         static_cast<int64_t>(text.size()));
                               });
}

// Registers memcpy of the UTF-8 text of `kind` and `size` (terminator
// included) under `function`: the floor that a function producing or
// consuming those bytes is compared with.
void RegisterMemcpy(const char* function, TextKind kind, size_t size);

}  // namespace bench

#endif  // COMMONHELPERS_BENCH_CORPUS_H_
