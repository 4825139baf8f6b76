// Utilities over std::string. Byte-wise; the containers' exceptions pass to
// the caller. split and StringReplace count what they will produce before
// they build it, so each allocates its result once and their cost is linear
// in the text and the output.
#include <algorithm>
#include <bitset>
#include <climits>
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

// Calls visit(pos) for each occurrence of `pattern` (not empty) in `text` at
// or after `from`, left to right without overlap, for as long as it returns
// true. The whole search is in this loop, which the callers' instances
// inline: the pieces between delimiters are often a few bytes long, and a
// call per occurrence (memchr's among them) costs more than they do. Only a
// gap of more than 32 bytes goes to memchr (through find).
template <typename Visit>
void ForEachOccurrence(std::string_view text, std::string_view pattern, size_t from, Visit visit) {
  size_t pos = from;
  while (pos < text.size()) {
    const size_t limit = std::min(text.size(), pos + 32);
    while (pos != limit && text[pos] != pattern[0]) {
      ++pos;
    }
    if (pos == limit) {
      pos = text.find(pattern[0], limit);
      if (pos == std::string_view::npos) {
        return;
      }
    }
    if (!RestMatches(text, pos, pattern)) {
      ++pos;
    } else if (visit(pos)) {
      pos += pattern.size();
    } else {
      return;
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
