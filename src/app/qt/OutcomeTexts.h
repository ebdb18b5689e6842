#pragma once

#include <QString>

#include "app/SequenceRun.h"

namespace tidemark::qt {

/// What a run came to, in the user's language.
QString outcomeText(SequenceOutcome outcome);

/// Whether a person should know about it.
bool isTroubleFor(SequenceOutcome outcome);

} // namespace tidemark::qt
