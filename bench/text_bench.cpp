// fullToHalf against the physical floor (memcpy and strlen of the same
// bytes), and split / StringReplace against Abseil.
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>

#include <cstring>

#include "corpus.h"

namespace {

using bench::RegisterOnText;
using bench::TextKind;

// The two shapes of delimited text: many short pieces (a comma every 4
// bytes, about 260,000 pieces in a megabyte) and markup (`<br>` every 10
// bytes, about 100,000). Each replacement takes the other direction of
// StringReplace: ", " grows the text, "\n" shrinks it.
struct Shape {
  const char* name;
  const char* delim;
  size_t period;
  const char* replacement;
};
constexpr Shape kShapes[] = {{"commas", ",", 4, ", "}, {"br", "<br>", 10, "\n"}};

// English text of at most `size` bytes cut into pieces of
// `shape.period` - strlen(shape.delim) bytes, each closed by the delimiter;
// the first byte of the delimiter is taken out of the words, so that every
// occurrence is one the text was built with.
std::string DelimitedText(const Shape& shape, size_t size) {
  std::string words = bench::Utf8Text(TextKind::kEnglish, size);
  for (char& ch : words) {
    if (ch == shape.delim[0]) ch = ' ';
  }
  const size_t cbPiece = shape.period - strlen(shape.delim);
  std::string text;
  text.reserve(size + shape.period);
  for (size_t k = 0; text.size() + shape.period <= size; k += cbPiece) {
    text.append(words, k, cbPiece);
    text += shape.delim;
  }
  return text;
}

template <typename Body>
void RegisterOnDelimited(const char* function, const char* impl, const Shape& shape, size_t size,
                         Body body) {
  benchmark::RegisterBenchmark(bench::BenchName(function, impl, shape.name, size).c_str(),
                               [=](benchmark::State& state) {
                                 const std::string text = DelimitedText(shape, size);
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
  bench::RegisterMemcpy("fullToHalf", kind, size);
  RegisterOnText("fullToHalf", "strlen", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   for (auto _ : state) {
                     benchmark::DoNotOptimize(strlen(text.c_str()));
                   }
                 });
}

void RegisterSplitAndReplace(const Shape& shape, size_t size) {
  // split appends the delimiter to its argument; cutting it off again keeps
  // every round on the same text at the cost of no copy.
  RegisterOnDelimited("split", "ours", shape, size,
                      [shape](benchmark::State& state, const std::string& text) {
                        std::string str = text;
                        const std::string delim = shape.delim;
                        for (auto _ : state) {
                          std::vector<std::string> pieces = split(str, delim);
                          benchmark::DoNotOptimize(pieces.data());
                          str.resize(text.size());
                        }
                      });
  // Abseil gets its fastest delimiter: a single char where there is one.
  RegisterOnDelimited(
      "split", "absl", shape, size, [shape](benchmark::State& state, const std::string& text) {
        for (auto _ : state) {
          std::vector<std::string> pieces;
          if (strlen(shape.delim) == 1) {
            pieces = absl::StrSplit(text, shape.delim[0], absl::SkipEmpty());
          } else {
            pieces = absl::StrSplit(text, absl::string_view(shape.delim), absl::SkipEmpty());
          }
          benchmark::DoNotOptimize(pieces.data());
        }
      });
  // Both replace in place in a fresh copy of the text.
  RegisterOnDelimited("StringReplace", "ours", shape, size,
                      [shape](benchmark::State& state, const std::string& text) {
                        const std::string src = shape.delim;
                        const std::string dst = shape.replacement;
                        for (auto _ : state) {
                          std::string big = text;
                          StringReplace(big, src, dst);
                          benchmark::DoNotOptimize(big.data());
                        }
                      });
  RegisterOnDelimited("StringReplace", "absl", shape, size,
                      [shape](benchmark::State& state, const std::string& text) {
                        for (auto _ : state) {
                          std::string big = text;
                          absl::StrReplaceAll({{shape.delim, shape.replacement}}, &big);
                          benchmark::DoNotOptimize(big.data());
                        }
                      });
}

bool RegisterAll() {
  for (const size_t size : bench::kSizes) {
    for (const TextKind kind : bench::kTextKinds) {
      RegisterFullToHalf(kind, size);
    }
  }
  // The two sizes of the scaling check.
  for (const size_t size : {size_t{64} << 10, size_t{1} << 20}) {
    for (const Shape& shape : kShapes) {
      RegisterSplitAndReplace(shape, size);
    }
  }
  return true;
}

const bool registered = RegisterAll();

}  // namespace
