// Every SIMD level that this CPU runs, in this one process, on the functions
// that have kernels: each level's table is called directly, so that the
// levels and the comparisons run interleaved and see the same load. The name
// of the implementation is the level's.
#include <cstring>

#include "corpus.h"
#include "internal/simd.h"

namespace {

using bench::RegisterOnText;
using bench::TextKind;
using commonhelpers_internal::Kernels;

void RegisterLevel(const Kernels& level, TextKind kind, size_t size) {
  const Kernels* table = &level;
  RegisterOnText("Utf8ToUtf16", level.name, kind, size,
                 [table](benchmark::State& state, const std::string& text) {
                   std::vector<USHORT> wide(text.size() + 1);
                   for (auto _ : state) {
                     RResult result;
                     ConvertUtfStringWith(text.c_str(), UTF_8, wide.data(),
                                          static_cast<int>(wide.size()), UTF_16, &result, table);
                     benchmark::DoNotOptimize(result);
                   }
                 });
  RegisterOnText("Utf16ToUtf8", level.name, kind, size,
                 [table](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   std::vector<char> narrow(text.size() + 1);
                   for (auto _ : state) {
                     RResult result;
                     ConvertUtfStringWith(wide.data(), UTF_16, narrow.data(),
                                          static_cast<int>(narrow.size()), UTF_8, &result, table);
                     benchmark::DoNotOptimize(result);
                   }
                 });
  RegisterOnText("fullToHalf", level.name, kind, size,
                 [table](benchmark::State& state, const std::string& text) {
                   std::vector<char> half(text.size() + 1);
                   for (auto _ : state) {
                     FullToHalfWith(*table, text.c_str(), half.data());
                     benchmark::DoNotOptimize(half.data());
                   }
                 });
  RegisterOnText("WcsLen", level.name, kind, size,
                 [table](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   for (auto _ : state) {
                     benchmark::DoNotOptimize(table->terminatedLength16(wide.data()));
                   }
                 });
}

bool RegisterAll() {
  size_t count = 0;
  const Kernels* const* levels = commonhelpers_internal::AvailableKernels(&count);
  for (size_t k = 0; k < count; ++k) {
    for (const TextKind kind : bench::kTextKinds) {
      RegisterLevel(*levels[k], kind, bench::kShortSentence);
    }
    for (const size_t size : bench::kSizes) {
      for (const TextKind kind : bench::kTextKinds) {
        RegisterLevel(*levels[k], kind, size);
      }
    }
  }
  return true;
}

const bool registered = RegisterAll();

}  // namespace
