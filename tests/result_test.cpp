#include <gtest/gtest.h>

#include <commonhelpers/commonhelpers.h>

namespace {

TEST(ResultCodes, HaveTheirFixedValues) {
  EXPECT_EQ(RESULT_SUCCEEDED, 0u);
  EXPECT_EQ(RESULT_INV_ARGUMENT, 1u);
  EXPECT_EQ(RESULT_OUT_OF_MEMORY, 2u);
  EXPECT_EQ(RESULT_ELEMENT_DUPLICATED, 4u);
  EXPECT_EQ(RESULT_ELEMENT_NOT_EXIST, 8u);
  EXPECT_EQ(RESULT_INV_DATA, 16u);
  EXPECT_EQ(RESULT_SYSTEM_ERROR, 32u);
  EXPECT_EQ(RESULT_UNSUPPORTED, 16384u);
  EXPECT_EQ(RESULT_ANY_ERROR, 32768u);
  EXPECT_EQ(sizeof(RResult), 4u);
  EXPECT_TRUE(std::is_unsigned<std::underlying_type_t<RResult>>::value);
  EXPECT_EQ(sizeof(LanguageType), 4u);
  EXPECT_EQ(TTS_LANG_UNSIGNED, -1);
}

TEST(PassBackResult, OverwritesTheCallersVariableEvenWithSuccess) {
  RResult result = RESULT_SUCCEEDED;
  PassBackResult(RESULT_INV_DATA, &result);
  EXPECT_EQ(result, 16u);
  PassBackResult(RESULT_SUCCEEDED, &result);
  EXPECT_EQ(result, 0u);
}

}  // namespace
