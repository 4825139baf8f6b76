// Utilities over std::string. Byte-wise; the containers' exceptions pass to
// the caller. split and StringReplace count what they will produce before
// they build it, so each allocates its result once and their cost is linear
// in the text and the output.
#include <algorithm>
#include <bitset>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <commonhelpers/commonhelpers.h>

namespace {

// A test of one byte against the bytes of `trimStr`, taken as a set.
auto InTrimSet(const std::string& trimStr) {
  std::bitset<1 << CHAR_BIT> set;
  for (unsigned char b : trimStr) {
    set.set(b);
  }
  return [set](char ch) { return set.test(static_cast<unsigned char>(ch)); };
}

// True when `pattern` occurs in `text` at `pos`, its first byte known to
// be there. The bytes are compared here rather than by memcmp, whose call
// costs more than the few bytes of a delimiter.
bool RestMatches(std::string_view text, size_t pos, std::string_view pattern) {
  if (text.size() - pos < pattern.size()) {
    return false;
  }
  for (size_t k = 1; k < pattern.size(); ++k) {
    if (text[pos + k] != pattern[k]) {
      return false;
    }
  }
  return true;
}

// 0x80 in each of the 8 bytes at `p` that equals the byte repeated in
// `repeated`, 0 in the others; the first byte is the lowest. Exact: no
// carry passes from one byte into the next, whatever the bytes. (The bytes
// are put together one by one so that no byte order is assumed; compilers
// make it one load.)
inline uint64_t BytesEqual(const char* p, uint64_t repeated) {
  const auto* b = reinterpret_cast<const unsigned char*>(p);
  const uint64_t word = uint64_t{b[0]} | uint64_t{b[1]} << 8 | uint64_t{b[2]} << 16 |
                        uint64_t{b[3]} << 24 | uint64_t{b[4]} << 32 | uint64_t{b[5]} << 40 |
                        uint64_t{b[6]} << 48 | uint64_t{b[7]} << 56;
  const uint64_t x = word ^ repeated;
  constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7F;
  return ~(((x & kLow7) + kLow7) | x | kLow7);
}

// The index of the lowest byte that has its 0x80 bit set in `bits` (not 0),
// which has no other bits: the multiplication moves byte k of the constant,
// which holds 7 - k, into the top byte.
inline size_t FirstByte(uint64_t bits) {
  return static_cast<size_t>(((bits & (0 - bits)) >> 7) * 0x0001020304050607 >> 56);
}

// The candidates among the last bytes of `text`, fewer than 8, from `at`.
uint64_t LastCandidates(std::string_view text, size_t at, uint64_t repeated) {
  char last[8];
  memset(last, ~static_cast<int>(repeated & 0xFF), sizeof last);
  memcpy(last, text.data() + at, text.size() - at);
  return BytesEqual(last, repeated);
}

// The candidates among the 8 bytes of `text` from `at`, as BytesEqual gives
// them; bytes past the end of the text are none.
inline uint64_t Candidates(std::string_view text, size_t at, uint64_t repeated) {
  if (at >= text.size()) {
    return 0;
  }
  return text.size() - at >= 8 ? BytesEqual(text.data() + at, repeated)
                               : LastCandidates(text, at, repeated);
}

// Calls visit(pos) for each occurrence of `pattern` (not empty) in `text` at
// or after `from`, left to right without overlap, for as long as it returns
// true. The whole search is in this loop, which the callers' instances
// inline: the pieces between delimiters are often a few bytes long, and a
// call per occurrence (memchr's among them) costs more than they do. The
// candidates, the bytes equal to the pattern's first, come 8 at a time as a
// mask that the loop takes apart, with no branch per byte to mispredict at
// the end of each piece; only a gap of 32 bytes or more goes to memchr
// (through find).
template <typename Visit>
void ForEachOccurrence(std::string_view text, std::string_view pattern, size_t from, Visit visit) {
  const uint64_t repeated = uint64_t{0x0101010101010101} * static_cast<unsigned char>(pattern[0]);
  size_t at = from;  // where the 8 bytes of `hits` start
  uint64_t hits = Candidates(text, at, repeated);
  size_t gap = 0;  // bytes without a candidate since the last one
  while (at < text.size()) {
    if (hits == 0) {
      at += 8;
      gap += 8;
      if (gap >= 32) {
        at = text.find(pattern[0], at);
      }
      hits = Candidates(text, at, repeated);
      continue;
    }
    gap = 0;
    const size_t pos = at + FirstByte(hits);
    hits &= hits - 1;
    if (!RestMatches(text, pos, pattern)) {
      continue;
    }
    if (!visit(pos)) {
      return;
    }
    // The candidates inside the occurrence go; a one-byte one has none.
    if (pattern.size() > 1) {
      const size_t next = pos + pattern.size();
      if (next - at < 8) {
        hits &= ~uint64_t{0} << (8 * (next - at));
      } else {
        at = next;
        hits = Candidates(text, at, repeated);
      }
    }
  }
}

// The first occurrence of `pattern` (not empty) in `text`, or npos.
size_t Find(std::string_view text, std::string_view pattern) {
  size_t found = std::string_view::npos;
  ForEachOccurrence(text, pattern, 0, [&found](size_t pos) {
    found = pos;
    return false;
  });
  return found;
}

// Calls visit(start, length) for each non-empty piece of `text` that ends
// in an occurrence of `delim`.
template <typename Visit>
void ForEachPiece(std::string_view text, std::string_view delim, Visit visit) {
  size_t start = 0;
  ForEachOccurrence(text, delim, 0, [&](size_t pos) {
    if (pos > start) {
      visit(start, pos - start);
    }
    start = pos + delim.size();
    return true;
  });
}

}  // namespace

std::vector<std::string> split(std::string& str, const std::string& delim) {
  std::vector<std::string> pieces;
  if (delim.empty()) {
    // An empty delimiter is found everywhere and cuts nothing.
    if (!str.empty()) {
      pieces.push_back(str);
    }
    return pieces;
  }
  str += delim;
  const std::string_view text(str);
  size_t cnPieces = 0;
  ForEachPiece(text, delim, [&cnPieces](size_t, size_t) { ++cnPieces; });
  pieces.reserve(cnPieces);
  ForEachPiece(text, delim, [&](size_t start, size_t length) {
    pieces.emplace_back(text.data() + start, length);
  });
  return pieces;
}

std::string GetValue(const std::map<std::string, std::string>& map, std::string key) {
  const auto it = map.find(key);
  return it != map.end() ? it->second : std::string("0");
}

void StringReplace(std::string& strBig, const std::string& strsrc, const std::string& strdst) {
  if (strsrc.empty()) {
    return;
  }
  const size_t cbSrc = strsrc.size();
  const size_t cbDst = strdst.size();
  const std::string_view text(strBig);
  const size_t posFirst = Find(text, strsrc);
  if (posFirst == std::string_view::npos) {
    return;
  }
  // A replacement no longer than what it replaces is written over the text
  // itself: the writer never passes the reader, and the search resumes
  // behind the occurrence, which is where it would resume behind the
  // inserted text, so replacements never cascade. A longer one goes into a
  // new string of the exact final size.
  std::string grown;
  char* pchOut = strBig.data();
  if (cbDst > cbSrc) {
    size_t cnFound = 0;
    ForEachOccurrence(text, strsrc, posFirst, [&cnFound](size_t) { return ++cnFound != 0; });
    if (cbDst - cbSrc > (grown.max_size() - text.size()) / cnFound) {
      throw std::length_error("StringReplace");
    }
    grown.resize(text.size() + cnFound * (cbDst - cbSrc));
    pchOut = grown.data();
    memcpy(pchOut, text.data(), posFirst);
  }
  size_t cbOut = posFirst;
  size_t start = posFirst;
  ForEachOccurrence(text, strsrc, posFirst, [&](size_t pos) {
    memmove(pchOut + cbOut, text.data() + start, pos - start);
    cbOut += pos - start;
    memmove(pchOut + cbOut, strdst.data(), cbDst);
    cbOut += cbDst;
    start = pos + cbSrc;
    return true;
  });
  memmove(pchOut + cbOut, text.data() + start, text.size() - start);
  cbOut += text.size() - start;
  if (grown.empty()) {
    strBig.resize(cbOut);
  } else {
    strBig.swap(grown);
  }
}

std::string GetParentPath(std::string location) {
  const size_t slash = location.rfind('/');
  if (slash == std::string::npos) {
    fputs("ivalid path", stdout);
    exit(0);
  }
  location.resize(slash + 1);
  return location;
}

bool TrimStart(std::string& str, const std::string& trimStr) {
  str.erase(str.begin(), std::find_if_not(str.begin(), str.end(), InTrimSet(trimStr)));
  return !str.empty();
}

bool TrimEnd(std::string& str, const std::string& trimStr) {
  str.erase(std::find_if_not(str.rbegin(), str.rend(), InTrimSet(trimStr)).base(), str.end());
  return !str.empty();
}

bool Trim(std::string& str, const std::string& trimStr) {
  // TrimEnd sees what TrimStart left, so its answer is the answer of both.
  TrimStart(str, trimStr);
  return TrimEnd(str, trimStr);
}
