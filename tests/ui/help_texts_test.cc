#include "ui/placemanager/help_texts.h"

#include <gtest/gtest.h>

namespace tarv::ui {
namespace {

TEST(HelpTexts, EnglishOnlyForLanguagesOneAndThree) {
  for (const std::int32_t language : {1, 3})
    EXPECT_TRUE(DialogRuleIsEnglish(language));
  for (const std::int32_t language : {0, 2, 4, -1})
    EXPECT_FALSE(DialogRuleIsEnglish(language));
}

TEST(HelpTexts, ReadOnlyFieldsCarryTheSuffix) {
  EXPECT_EQ(KeyedHelpText(14, 1),
            "This is the shortcut of the actual country. (Can not be changed).");
  EXPECT_EQ(KeyedHelpText(13, 2),
            "Hier wird das ausgewählte Land angezeigt. (Kann nicht bearbeitet werden).");
  for (const int key : {16, 30, 31}) {
    const std::string text = KeyedHelpText(static_cast<std::int16_t>(key), 3);
    EXPECT_EQ(text.substr(text.size() - 22), " (Can not be changed).") << key;
  }
}

TEST(HelpTexts, WordingIsKeptAsUsersKnowIt) {
  EXPECT_NE(KeyedHelpText(3, 2).find("Es wird einer neuer Ort angelegt"), std::string::npos);
  EXPECT_NE(KeyedHelpText(-15, 1).find("choosen timezone"), std::string::npos);
  EXPECT_EQ(KeyedHelpText(5, 1), KeyedHelpText(6, 1));
  // The option texts end without a full stop in English only.
  EXPECT_EQ(std::string(OptionHelpText(0).english), "Shows all countries except of the USA");
  EXPECT_EQ(std::string(OptionHelpText(1).german).back(), '.');
}

TEST(HelpTexts, UnknownKeysAndTheChangeButtonsHaveNoText) {
  for (const int key : {0, 4, 7, 15, -5, -16, 32}) {
    EXPECT_EQ(KeyedHelpText(static_cast<std::int16_t>(key), 2), "");
  }
  EXPECT_EQ(ActionHelpText(3, 2), "");
  EXPECT_EQ(ActionHelpText(4, 1), "");
  EXPECT_EQ(ActionHelpText(5, 1),
            "Here you can select a matching timezone table for a user defined place.");
}

}  // namespace
}  // namespace tarv::ui
