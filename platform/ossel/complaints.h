// What the library says on standard error: one line per outage and one per kind of refusal,
// however many calls and threads meet it. Who is told besides is left to the caller.
#pragma once

#include <string>
#include <string_view>

namespace ossel {

// Says "ossel: " and the text, at all times.
void complain(std::string_view text);

// Says it unless it was said of this address already and no store has answered since.
void complainOfOutage(std::string_view address, std::string_view text);

// The store answered: the next outage is a new one. Costs next to nothing.
void outageIsOver() noexcept;

// Says it unless the same line was said within the last ten seconds.
void complainNowAndThen(std::string_view text);

} // namespace ossel
