// The car's setup out of iRacing's session text, flattened to lines "Section.Sub.Key: value".
#pragma once
#include "telemetry/readers/iracing_session_text.h"

namespace vt {

/// Fills `setupText`, `setupHash` and `setupUpdateCount` from the `CarSetup:` block of `text`
/// (UTF-8). They keep their defaults when there is none. A setup that is too long ends with the
/// line "(truncated)".
void parseSetupText(IrSessionText& out, std::string_view text);

} // namespace vt
