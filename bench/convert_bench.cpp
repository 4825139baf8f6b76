// UTF conversion, and the wide-string walks that follow it, against ICU and
// glibc iconv.
#include <iconv.h>
#include <unicode/ustring.h>

#include <cstdlib>
#include <cstring>

#include <commonhelpers/stringconverter.h>
#include "corpus.h"

namespace {

using bench::RegisterOnText;
using bench::TextKind;

// Tokens end at spaces, commas, full stops and line ends, ASCII or Chinese.
const USHORT kDelimiters[] = {' ', ',', '.', '\n', 0xFF0C, 0x3002, 0};

void Iconv(benchmark::State& state, const char* szTo, const char* szFrom, const void* src,
           size_t cbSrc, void* dst, size_t cbDst) {
  iconv_t cd = iconv_open(szTo, szFrom);
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv_open failed");
    return;
  }
  for (auto _ : state) {
    char* pIn = const_cast<char*>(static_cast<const char*>(src));
    char* pOut = static_cast<char*>(dst);
    size_t cbIn = cbSrc;
    size_t cbOut = cbDst;
    if (iconv(cd, &pIn, &cbIn, &pOut, &cbOut) == static_cast<size_t>(-1)) {
      state.SkipWithError("iconv failed");
      break;
    }
    benchmark::DoNotOptimize(pOut);
  }
  iconv_close(cd);
}

void RegisterConversions(TextKind kind, size_t size) {
  RegisterOnText("Utf8ToUtf16", "ours", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   std::vector<USHORT> wide(text.size() + 1);
                   for (auto _ : state) {
                     RResult result;
                     ConvertUtfString(text.c_str(), UTF_8, wide.data(),
                                      static_cast<int>(wide.size()), UTF_16, &result);
                     benchmark::DoNotOptimize(result);
                   }
                 });
  RegisterOnText("Utf8ToUtf16", "ICU", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   std::vector<UChar> wide(text.size() + 1);
                   for (auto _ : state) {
                     UErrorCode error = U_ZERO_ERROR;
                     int32_t cnUnits = 0;
                     u_strFromUTF8(wide.data(), static_cast<int32_t>(wide.size()), &cnUnits,
                                   text.c_str(), -1, &error);
                     benchmark::DoNotOptimize(cnUnits);
                   }
                 });
  RegisterOnText(
      "Utf8ToUtf16", "iconv", kind, size, [](benchmark::State& state, const std::string& text) {
        std::vector<USHORT> wide(text.size() + 1);
        Iconv(state, "UTF-16LE", "UTF-8", text.data(), text.size(), wide.data(), wide.size() * 2);
      });

  bench::RegisterMemcpy("Utf8ToUtf16", kind, size);

  RegisterOnText("Utf16ToUtf8", "ours", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   std::vector<char> narrow(text.size() + 1);
                   for (auto _ : state) {
                     RResult result;
                     ConvertUtfString(wide.data(), UTF_16, narrow.data(),
                                      static_cast<int>(narrow.size()), UTF_8, &result);
                     benchmark::DoNotOptimize(result);
                   }
                 });
  RegisterOnText("Utf16ToUtf8", "ICU", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   std::vector<char> narrow(text.size() + 1);
                   for (auto _ : state) {
                     UErrorCode error = U_ZERO_ERROR;
                     int32_t cbText = 0;
                     u_strToUTF8(narrow.data(), static_cast<int32_t>(narrow.size()), &cbText,
                                 reinterpret_cast<const UChar*>(wide.data()), -1, &error);
                     benchmark::DoNotOptimize(cbText);
                   }
                 });
  RegisterOnText("Utf16ToUtf8", "iconv", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   std::vector<char> narrow(text.size() + 1);
                   Iconv(state, "UTF-8", "UTF-16LE", wide.data(), (wide.size() - 1) * 2,
                         narrow.data(), narrow.size());
                 });

  // The same UTF-8 bytes as the output of the conversion.
  bench::RegisterMemcpy("Utf16ToUtf8", kind, size);

  // The wrapper allocates and zero-fills 3n + 3 units, as its contract says;
  // the anchor does the same before converting.
  RegisterOnText("GetUTF16Text", "ours", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   for (auto _ : state) {
                     USHORT* wszText = GetUTF16Text(text.c_str(), nullptr);
                     benchmark::DoNotOptimize(wszText);
                     free(wszText);
                   }
                 });
  RegisterOnText(
      "GetUTF16Text", "ICU", kind, size, [](benchmark::State& state, const std::string& text) {
        for (auto _ : state) {
          const size_t cnUnits = text.size() * 3 + 3;
          UChar* wszText = static_cast<UChar*>(calloc(cnUnits, sizeof(UChar)));
          UErrorCode error = U_ZERO_ERROR;
          u_strFromUTF8(wszText, static_cast<int32_t>(cnUnits), nullptr, text.c_str(), -1, &error);
          benchmark::DoNotOptimize(wszText);
          free(wszText);
        }
      });
}

// The English text, less its few characters outside ASCII (some of them
// Chinese), so that the search walks all of it.
std::string AsciiOnly(std::string text) {
  for (char& ch : text) {
    if (static_cast<unsigned char>(ch) >= 0x80) ch = ' ';
  }
  return text;
}

void RegisterContainsChinese(size_t size) {
  RegisterOnText("ContainsChinese", "ours", TextKind::kEnglish, size,
                 [](benchmark::State& state, const std::string& english) {
                   std::string copy = AsciiOnly(english);
                   for (auto _ : state) {
                     benchmark::DoNotOptimize(ContainsChinese(copy.data(), nullptr));
                   }
                 });
  RegisterOnText("ContainsChinese", "ICU", TextKind::kEnglish, size,
                 [](benchmark::State& state, const std::string& english) {
                   const std::string text = AsciiOnly(english);
                   for (auto _ : state) {
                     const size_t cnUnits = text.size() * 3 + 3;
                     UChar* wszText = static_cast<UChar*>(calloc(cnUnits, sizeof(UChar)));
                     UErrorCode error = U_ZERO_ERROR;
                     u_strFromUTF8(wszText, static_cast<int32_t>(cnUnits), nullptr, text.c_str(),
                                   -1, &error);
                     bool fFound = false;
                     for (const UChar* p = wszText; *p != 0 && !fFound; ++p) {
                       fFound = *p >= 0x4E00 && *p <= 0x9FFF;
                     }
                     benchmark::DoNotOptimize(fFound);
                     free(wszText);
                   }
                 });
}

void RegisterWideWalks(TextKind kind, size_t size) {
  RegisterOnText("WcsLen", "ours", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   const std::vector<USHORT> wide = bench::Utf16Text(text);
                   for (auto _ : state) {
                     benchmark::DoNotOptimize(WcsLen(wide.data(), nullptr));
                   }
                 });
  RegisterOnText("WcsLen", "ICU", kind, size, [](benchmark::State& state, const std::string& text) {
    const std::vector<USHORT> wide = bench::Utf16Text(text);
    for (auto _ : state) {
      benchmark::DoNotOptimize(u_strlen(reinterpret_cast<const UChar*>(wide.data())));
    }
  });
  // Both sides tokenize a fresh copy each time: the tokenizers write into it.
  RegisterOnText(
      "WcsTok", "ours", kind, size, [](benchmark::State& state, const std::string& text) {
        const std::vector<USHORT> wide = bench::Utf16Text(text);
        std::vector<USHORT> copy(wide.size());
        for (auto _ : state) {
          memcpy(copy.data(), wide.data(), wide.size() * sizeof(USHORT));
          USHORT* pwchNext = nullptr;
          int cnTokens = 0;
          for (USHORT* wszToken = WcsTok(copy.data(), kDelimiters, &pwchNext, nullptr);
               wszToken != nullptr; wszToken = WcsTok(nullptr, kDelimiters, &pwchNext, nullptr)) {
            ++cnTokens;
          }
          benchmark::DoNotOptimize(cnTokens);
        }
      });
  RegisterOnText("WcsTok", "ICU", kind, size, [](benchmark::State& state, const std::string& text) {
    const std::vector<USHORT> wide = bench::Utf16Text(text);
    std::vector<UChar> copy(wide.size());
    const UChar* delimiters = reinterpret_cast<const UChar*>(kDelimiters);
    for (auto _ : state) {
      memcpy(copy.data(), wide.data(), wide.size() * sizeof(USHORT));
      UChar* pwchSaved = nullptr;
      int cnTokens = 0;
      for (UChar* wszToken = u_strtok_r(copy.data(), delimiters, &pwchSaved); wszToken != nullptr;
           wszToken = u_strtok_r(nullptr, delimiters, &pwchSaved)) {
        ++cnTokens;
      }
      benchmark::DoNotOptimize(cnTokens);
    }
  });
}

bool RegisterAll() {
  for (const TextKind kind : bench::kTextKinds) {
    RegisterConversions(kind, bench::kShortSentence);
  }
  for (const size_t size : bench::kSizes) {
    for (const TextKind kind : bench::kTextKinds) {
      RegisterConversions(kind, size);
      RegisterWideWalks(kind, size);
    }
    RegisterContainsChinese(size);
  }
  return true;
}

const bool registered = RegisterAll();

}  // namespace
