#include "corpus.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <commonhelpers/stringconverter.h>

namespace bench {

namespace {

namespace fs = std::filesystem;

const char* FileName(TextKind kind) {
  switch (kind) {
    case TextKind::kEnglish:
      return "english.utf8.txt";
    case TextKind::kChinese:
      return "chinese-lipsum.utf8.txt";
    default:
      return "chinese.utf8.txt";
  }
}

// The corpus directory: $CH_CORPUS_DIR, else shared/corpus beside the
// repository or beside the directory that holds it (a worktree).
fs::path CorpusDir() {
  if (const char* szDir = getenv("CH_CORPUS_DIR")) {
    return szDir;
  }
  const fs::path root = COMMONHELPERS_SOURCE_DIR;
  for (const fs::path& base : {root.parent_path(), root.parent_path().parent_path()}) {
    if (fs::is_directory(base / "shared" / "corpus")) {
      return base / "shared" / "corpus";
    }
  }
  return {};
}

void AppendUtf8(std::string& text, char32_t cp) {
  if (cp < 0x80) {
    text += static_cast<char>(cp);
  } else if (cp < 0x800) {
    text += static_cast<char>(0xC0 | (cp >> 6));
    text += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    text += static_cast<char>(0xE0 | (cp >> 12));
    text += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Stand-in text of the same character mix as the corpus file.
std::string GeneratedText(TextKind kind) {
  static const char* const kWords[] = {"the",  "planet", "is",    "red", "because", "of",
                                       "iron", "oxide",  "on",    "its", "surface", "and",
                                       "thin", "air,",   "which", "is",  "mostly",  "carbon"};
  std::string text;
  for (unsigned k = 0; k < 4000; ++k) {
    const char32_t hanzi = 0x4E00 + (k * 7919) % 0x5200;
    if (kind == TextKind::kEnglish) {
      text += kWords[k % 18];
      text += k % 23 == 22 ? ".\n" : " ";
    } else if (kind == TextKind::kChinese) {
      AppendUtf8(text, hanzi);
      if (k % 13 == 12) AppendUtf8(text, k % 3 == 0 ? U'。' : U'，');
    } else {
      AppendUtf8(text, hanzi);
      if (k % 7 == 0) text += kWords[k % 18];
      if (k % 11 == 0) AppendUtf8(text, 0xFF10 + k % 10);  // full-width digit
      if (k % 17 == 0) AppendUtf8(text, U'　');
      if (k % 5 == 0) AppendUtf8(text, U'，');
    }
  }
  return text;
}

const std::string& Corpus(TextKind kind) {
  static std::string texts[3];
  std::string& text = texts[static_cast<int>(kind)];
  if (text.empty()) {
    std::ifstream file(CorpusDir() / FileName(kind), std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (text.empty()) {
      text = GeneratedText(kind);
    }
  }
  return text;
}

struct TempDir {
  fs::path path;
  TempDir() {
    std::string pattern = (fs::temp_directory_path() / "chbench.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      abort();
    }
    path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

}  // namespace

const char* TextName(TextKind kind) {
  switch (kind) {
    case TextKind::kEnglish:
      return "english";
    case TextKind::kChinese:
      return "chinese";
    default:
      return "mixed";
  }
}

std::string Utf8Text(TextKind kind, size_t size) {
  // Larger texts repeat the 64 KB one, so that the scaling check compares
  // the same mix of characters at both sizes.
  constexpr size_t kBaseSize = 64 << 10;
  const std::string corpus = size > kBaseSize ? Utf8Text(kind, kBaseSize) : Corpus(kind);
  std::string text;
  text.reserve(size + corpus.size());
  while (text.size() < size) {
    text += corpus;
  }
  size_t cut = size;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) {
    --cut;
  }
  text.resize(cut);
  return text;
}

std::vector<USHORT> Utf16Text(const std::string& text) {
  std::vector<USHORT> wide(text.size() + 1);
  RResult result = RESULT_SUCCEEDED;
  ConvertUtfString(text.c_str(), UTF_8, wide.data(), static_cast<int>(wide.size()), UTF_16,
                   &result);
  if (result != RESULT_SUCCEEDED) {
    abort();
  }
  size_t n = 0;
  while (wide[n] != 0) ++n;
  wide.resize(n + 1);
  return wide;
}

bool QuickMode() { return getenv("CH_BENCH_QUICK") != nullptr; }

std::string TempPath(const std::string& name) {
  static TempDir dir;
  return (dir.path / name).string();
}

std::string BenchName(const char* function, const char* impl, const std::string& input,
                      size_t size) {
  std::ostringstream name;
  name << function << '/' << impl << '/' << input << '/' << size;
  return name.str();
}

void RegisterMemcpy(const char* function, TextKind kind, size_t size) {
  RegisterOnText(function, "memcpy", kind, size,
                 [](benchmark::State& state, const std::string& text) {
                   std::vector<char> copy(text.size() + 1);
                   for (auto _ : state) {
                     memcpy(copy.data(), text.c_str(), text.size() + 1);
                     benchmark::DoNotOptimize(copy.data());
                     benchmark::ClobberMemory();
                   }
                 });
}

}  // namespace bench
