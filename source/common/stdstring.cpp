// Utilities over std::string. Byte-wise; the containers' exceptions pass to
// the caller. split and StringReplace build their results in one pass, so
// their cost is linear in the text and the output.
#include <bitset>
#include <cstdio>
#include <cstdlib>

#include <commonhelpers/commonhelpers.h>

namespace {

// The bytes of `trimStr` as a set.
std::bitset<256> ByteSet(const std::string& trimStr) {
  std::bitset<256> set;
  for (unsigned char b : trimStr) {
    set.set(b);
  }
  return set;
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
  const size_t size = str.size();
  size_t i = 0;
  while (i < size) {
    const size_t pos = str.find(delim, i);
    if (pos == std::string::npos) {
      break;
    }
    if (pos > i) {
      pieces.emplace_back(str, i, pos - i);
    }
    i = pos + delim.size();
  }
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
  size_t pos = strBig.find(strsrc);
  if (pos == std::string::npos) {
    return;
  }
  std::string replaced;
  replaced.reserve(strBig.size());
  size_t start = 0;
  // The search goes on behind each occurrence in the original text, which is
  // where it would resume behind the inserted text: replacements never
  // cascade.
  while (pos != std::string::npos) {
    replaced.append(strBig, start, pos - start);
    replaced += strdst;
    start = pos + strsrc.size();
    pos = strBig.find(strsrc, start);
  }
  replaced.append(strBig, start, std::string::npos);
  strBig.swap(replaced);
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
  const std::bitset<256> set = ByteSet(trimStr);
  size_t first = 0;
  while (first < str.size() && set.test(static_cast<unsigned char>(str[first]))) {
    ++first;
  }
  str.erase(0, first);
  return !str.empty();
}

bool TrimEnd(std::string& str, const std::string& trimStr) {
  const std::bitset<256> set = ByteSet(trimStr);
  size_t end = str.size();
  while (end > 0 && set.test(static_cast<unsigned char>(str[end - 1]))) {
    --end;
  }
  str.resize(end);
  return !str.empty();
}

bool Trim(std::string& str, const std::string& trimStr) {
  const bool fStart = TrimStart(str, trimStr);
  const bool fEnd = TrimEnd(str, trimStr);
  return fStart && fEnd;
}
