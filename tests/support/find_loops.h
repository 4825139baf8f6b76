// split and StringReplace as plain std::string::find loops, the oracle of the
// unit tests and the fuzz target.
#ifndef COMMONHELPERS_TESTS_SUPPORT_FIND_LOOPS_H_
#define COMMONHELPERS_TESTS_SUPPORT_FIND_LOOPS_H_

#include <string>
#include <vector>

namespace find_loops {

// `text`, matches of `what` replaced by `by`; `cut` gets the non-empty pieces
// before them.
inline std::string Replace(const std::string& text, const std::string& what, const std::string& by,
                           std::vector<std::string>& cut) {
  std::string out;
  size_t start = 0;
  for (size_t hit; !what.empty() && (hit = text.find(what, start)) != std::string::npos;
       start = hit + what.size()) {
    if (hit > start) cut.push_back(text.substr(start, hit - start));
    out += text.substr(start, hit - start) + by;
  }
  return out + text.substr(start);
}

}  // namespace find_loops

#endif  // COMMONHELPERS_TESTS_SUPPORT_FIND_LOOPS_H_
