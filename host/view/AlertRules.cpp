// AlertRules.cpp: the rules of an alert's buttons and answer (AlertRules.h).
#include "view/AlertRules.h"

namespace folio::view {

Question alertQuestion(FSInt32 iconType, const char *message, const char *button1, const char *button2,
                       const char *button3, bool beep)
{
  Question q;
  q.iconType = iconType;
  q.message = message ? message : "";
  q.buttons.push_back(button1 ? button1 : kAlertDefaultButton);
  if (button2) {
    q.buttons.push_back(button2);
    if (button3)
      q.buttons.push_back(button3);
  }
  q.beep = beep;
  return q;
}

int alertAnswer(const Question &question, int answer)
{
  return answer >= 1 && answer <= static_cast<int>(question.buttons.size()) ? answer : 0;
}

} // namespace folio::view
