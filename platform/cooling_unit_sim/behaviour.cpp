// Parses the words of `tell`.
#include "platform/cooling_unit_sim/behaviour.h"

#include "platform/cooling/register_map.h"

#include <charconv>
#include <limits>
#include <modbus/modbus.h>
#include <optional>
#include <sstream>
#include <system_error>
#include <vector>

namespace sim {

namespace {

constexpr unsigned int kSlowestMilliseconds = 60'000;

std::optional<unsigned int> number(const std::string& text, unsigned int lowest,
                                   unsigned int highest) {
    unsigned int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < lowest ||
        value > highest) {
        return std::nullopt;
    }
    return value;
}

std::optional<Behaviour> parseBehaviour(const std::vector<std::string>& words) {
    using Kind = Behaviour::Kind;
    if (words == std::vector<std::string>{"normal"}) {
        return Behaviour{};
    }
    if (words == std::vector<std::string>{"silent"}) {
        return Behaviour{Kind::silent};
    }
    if (words.size() == 2 && words[0] == "exception") {
        if (const auto code = number(words[1], 1, MODBUS_EXCEPTION_MAX - 1)) {
            return Behaviour{Kind::exception, *code};
        }
    }
    if (words.size() == 2 && words[0] == "slow") {
        if (const auto delay = number(words[1], 0, kSlowestMilliseconds)) {
            return Behaviour{Kind::slow, 0, std::chrono::milliseconds(*delay)};
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> parseScale(const std::vector<std::string>& words) {
    if (words.size() != 2 || words[0] != "scale") {
        return std::nullopt;
    }
    if (words[1] == "imperial") {
        return cooling::kImperial;
    }
    if (words[1] == "metric") {
        return cooling::kMetric;
    }
    const auto value = number(words[1], 0, std::numeric_limits<std::uint16_t>::max());
    return value ? std::optional(static_cast<std::uint16_t>(*value)) : std::nullopt;
}

std::string show(const Behaviour& behaviour, const Unit& unit) {
    return "scale " + describeScale(unit.scale()) + ", " + behaviour.describe();
}

} // namespace

const char* const kControlWords =
    "silent | exception CODE (1 to 11) | slow MS (0 to 60000) | normal | "
    "scale imperial|metric|NUMBER (0 to 65535) | show";

std::string Behaviour::describe() const {
    switch (kind) {
    case Kind::normal:
        return "normal";
    case Kind::silent:
        return "silent";
    case Kind::exception:
        return "exception " + std::to_string(code);
    case Kind::slow:
        return "slow " + std::to_string(delay.count());
    }
    return {};
}

Obeyed obey(const std::string& line, Behaviour& behaviour, Unit& unit) {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    if (const auto wanted = parseBehaviour(words)) {
        behaviour = *wanted;
    } else if (const auto scale = parseScale(words)) {
        try {
            unit.setScale(*scale, "tell");
        } catch (const std::system_error& error) {
            return {false, error.what()};
        }
    } else if (words != std::vector<std::string>{"show"}) {
        return {false, "\"" + line + "\" is unknown; use one of: " + kControlWords};
    }
    return {true, show(behaviour, unit)};
}

} // namespace sim
