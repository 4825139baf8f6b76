#include <gtest/gtest.h>

#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace {

// The codes are bit flags that other modules store and compare as numbers.
TEST(ResultCodes, HaveTheirFixedValuesAndSizes) {
  const RResult codes[] = {
      RESULT_SUCCEEDED,          RESULT_INV_ARGUMENT,      RESULT_OUT_OF_MEMORY,
      RESULT_ELEMENT_DUPLICATED, RESULT_ELEMENT_NOT_EXIST, RESULT_INV_DATA,
      RESULT_SYSTEM_ERROR,       RESULT_UNSUPPORTED,       RESULT_ANY_ERROR};
  EXPECT_EQ(std::vector<unsigned>(std::begin(codes), std::end(codes)),
            (std::vector<unsigned>{0, 1, 2, 4, 8, 16, 32, 16384, 32768}));
  EXPECT_TRUE(std::is_unsigned<std::underlying_type_t<RResult>>::value);
  EXPECT_EQ(sizeof(RResult) + sizeof(LanguageType), 8u);
  EXPECT_EQ(TTS_LANG_UNSIGNED, -1);
}

}  // namespace
