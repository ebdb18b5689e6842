#include "app/qt/OutcomeTexts.h"

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

const char* keyOf(SequenceOutcome outcome)
{
    switch (outcome) {
    case SequenceOutcome::done:
        return "RESULT_DONE";
    case SequenceOutcome::someItemsFailed:
        return "RESULT_ITEMS_FAILED";
    case SequenceOutcome::listupFailed:
        return "RESULT_LISTING_FAILED";
    case SequenceOutcome::cancelled:
        return "RESULT_CANCELLED";
    case SequenceOutcome::loginFailed:
        return "RESULT_LOGIN_FAILED";
    case SequenceOutcome::refusedAlreadyRunning:
        return "RESULT_BUSY";
    }
    return "";
}

} // namespace

QString outcomeText(SequenceOutcome outcome)
{
    return text("Desktop", keyOf(outcome));
}

bool isTroubleFor(SequenceOutcome outcome)
{
    return outcome == SequenceOutcome::someItemsFailed || outcome == SequenceOutcome::listupFailed ||
           outcome == SequenceOutcome::loginFailed;
}

} // namespace tidemark::qt
