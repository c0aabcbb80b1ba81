// The library's lines on standard error: one per outage and one per kind of refusal, however many
// calls and threads meet it. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace ossel {

// Logs "ossel: " and the text, always.
void complain(std::string_view text);

// Logs it, unless an outage of this address was logged and no store has answered since.
void complainOfOutage(std::string_view address, std::string_view text);

// The store answered: the next outage is a new one. Cheap enough for every call.
void outageIsOver() noexcept;

// Logs it, unless the same line was logged within the last ten seconds.
void complainNowAndThen(std::string_view text);

} // namespace ossel
