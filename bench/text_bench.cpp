// fullToHalf against the physical floor (memcpy and strlen of the same
// bytes), and split / StringReplace against Abseil.
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>

#include <cstring>

#include "corpus.h"

namespace {

using bench::RegisterOnText;
using bench::TextKind;

// One occurrence every ten bytes: about 100,000 in a megabyte.
constexpr char kDelimiter[] = "<br>";
constexpr size_t kPeriod = 10;

// English text of `size` bytes with kDelimiter between pieces of kPeriod - 4
// bytes.
std::string DelimitedText(size_t size) {
  const std::string words = bench::Utf8Text(TextKind::kEnglish, size);
  const size_t cbPiece = kPeriod - strlen(kDelimiter);
  std::string text;
  text.reserve(size + kPeriod);
  for (size_t k = 0; text.size() + kPeriod <= size; k += cbPiece) {
    text.append(words, k, cbPiece);
    text += kDelimiter;
  }
  return text;
}

template <typename Body>
void RegisterOnDelimited(const char* function, const char* impl, size_t size, Body body) {
  benchmark::RegisterBenchmark(bench::BenchName(function, impl, "delimited", size).c_str(),
                               [=](benchmark::State& state) {
                                 const std::string text = DelimitedText(size);
                                 body(state, text);
                                 state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                                                         static_cast<int64_t>(text.size()));
                               });
}

void RegisterFullToHalf(TextKind kind, size_t size) {
  RegisterOnText("fullToHalf", "ours", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   std::vector<char> half(text.size() + 1);
                   for (auto _ : state) {
                     fullToHalf(text.c_str(), half.data(), nullptr);
                     benchmark::DoNotOptimize(half.data());
                   }
                 });
  RegisterOnText("fullToHalf", "memcpy", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   std::vector<char> half(text.size() + 1);
                   for (auto _ : state) {
                     memcpy(half.data(), text.c_str(), text.size() + 1);
                     benchmark::DoNotOptimize(half.data());
                     benchmark::ClobberMemory();
                   }
                 });
  RegisterOnText("fullToHalf", "strlen", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   for (auto _ : state) {
                     benchmark::DoNotOptimize(strlen(text.c_str()));
                   }
                 });
}

void RegisterSplitAndReplace(size_t size) {
  // split appends the delimiter to its argument; cutting it off again keeps
  // every round on the same text at the cost of no copy.
  RegisterOnDelimited("split", "ours", size, [](benchmark::State& state, const std::string& text) {
    std::string str = text;
    const std::string delim = kDelimiter;
    for (auto _ : state) {
      std::vector<std::string> pieces = split(str, delim);
      benchmark::DoNotOptimize(pieces.data());
      str.resize(text.size());
    }
  });
  RegisterOnDelimited("split", "absl", size, [](benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
      std::vector<std::string> pieces = absl::StrSplit(text, kDelimiter, absl::SkipEmpty());
      benchmark::DoNotOptimize(pieces.data());
    }
  });
  // Both replace in place in a fresh copy of the text.
  RegisterOnDelimited("StringReplace", "ours", size,
                      [](benchmark::State& state, const std::string& text) {
                        const std::string src = kDelimiter;
                        const std::string dst = "\n";
                        for (auto _ : state) {
                          std::string big = text;
                          StringReplace(big, src, dst);
                          benchmark::DoNotOptimize(big.data());
                        }
                      });
  RegisterOnDelimited("StringReplace", "absl", size,
                      [](benchmark::State& state, const std::string& text) {
                        for (auto _ : state) {
                          std::string big = text;
                          absl::StrReplaceAll({{kDelimiter, "\n"}}, &big);
                          benchmark::DoNotOptimize(big.data());
                        }
                      });
}

bool RegisterAll() {
  for (const size_t size : bench::kSizes) {
    for (const TextKind kind : bench::kTextKinds) {
      RegisterFullToHalf(kind, size);
    }
    if (size >= 4096) {
      RegisterSplitAndReplace(size);
    }
  }
  return true;
}

const bool registered = RegisterAll();

}  // namespace
