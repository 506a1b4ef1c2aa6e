// AlertRules.h: what an alert of the interface (FVAlert) asks and answers,
// apart from how a front end shows it (the AlertPort of Ports.h).
//
// The rules, the same for every front end:
//   - A null message is shown as empty text.
//   - Button 1 is always there: a null button1 gets the label "OK", so the
//     user always has a button to take the question (it is the default
//     button, the one Return presses).
//   - Buttons are numbered without gaps: a null button2 drops button3 as
//     well, so an answer n always names the caller's button n.
//   - The caller gets the number of the button pressed (1 to the number of
//     buttons shown); anything else the port answers (0 when the question
//     was dismissed, or a number no button has) counts as dismissed: 0.
#pragma once

#include "folio/FolioTypes.h"
#include "view/Ports.h"

namespace folio::view {

// The label button 1 gets when the caller gives none.
constexpr const char *kAlertDefaultButton = "OK";

// The question an FVAlert call with these arguments asks (pointers may be
// null; the strings are copied).
Question alertQuestion(FSInt32 iconType, const char *message, const char *button1, const char *button2,
                       const char *button3, bool beep);

// The answer the caller of FVAlert gets when the port answered `answer` to
// `question`: `answer` when it names one of the question's buttons, else 0.
int alertAnswer(const Question &question, int answer);

} // namespace folio::view
