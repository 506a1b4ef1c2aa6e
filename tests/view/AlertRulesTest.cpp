// The rules of an alert's buttons and answer, apart from any front end.
#include "view/AlertRules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using folio::view::alertAnswer;
using folio::view::alertQuestion;
using folio::view::Question;
using Labels = std::vector<std::string>;

TEST(ViewAlertRules, ThreeButtonsAreShownInOrder)
{
  Question q = alertQuestion(3, "Pages to crop?", "Current", "All", "Cancel", true);
  EXPECT_EQ(q.iconType, 3);
  EXPECT_EQ(q.message, "Pages to crop?");
  EXPECT_EQ(q.buttons, (Labels{"Current", "All", "Cancel"}));
  EXPECT_TRUE(q.beep);
}

TEST(ViewAlertRules, AMissingFirstButtonIsTheDefaultOK)
{
  Question q = alertQuestion(0, "Stop.", nullptr, nullptr, nullptr, false);
  EXPECT_EQ(q.buttons, (Labels{"OK"}));
  EXPECT_FALSE(q.beep);
  EXPECT_EQ(alertQuestion(1, "m", nullptr, "Second", nullptr, false).buttons, (Labels{"OK", "Second"}));
}

TEST(ViewAlertRules, AThirdButtonWithoutASecondIsDropped)
{
  // Buttons are numbered without gaps: answer 2 could not name "Third".
  Question q = alertQuestion(2, "m", "First", nullptr, "Third", false);
  EXPECT_EQ(q.buttons, (Labels{"First"}));
  EXPECT_EQ(alertQuestion(2, "m", "First", "Second", nullptr, false).buttons, (Labels{"First", "Second"}));
}

TEST(ViewAlertRules, ANullMessageIsEmptyText)
{
  EXPECT_EQ(alertQuestion(3, nullptr, "OK", nullptr, nullptr, false).message, "");
}

TEST(ViewAlertRules, TheAnswerIsAButtonNumberOrDismissed)
{
  Question two = alertQuestion(3, "m", "Yes", "No", nullptr, false);
  EXPECT_EQ(alertAnswer(two, 1), 1);
  EXPECT_EQ(alertAnswer(two, 2), 2);
  EXPECT_EQ(alertAnswer(two, 0), 0);  // dismissed
  EXPECT_EQ(alertAnswer(two, 3), 0);  // no such button
  EXPECT_EQ(alertAnswer(two, -1), 0); // no such button
  Question three = alertQuestion(3, "m", "A", "B", "C", false);
  EXPECT_EQ(alertAnswer(three, 3), 3);
}
