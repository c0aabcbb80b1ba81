// The one table of the settings of the WebGUI resource: their names, the message id that changes
// each, the values that make sense, what they mean. The Redfish documents, checks and schemas
// derive from it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace client {

// Bytes that a value may have, as much as the settings database keeps of it.
inline constexpr std::size_t kMaxValueBytes = 255;

// What the value of a setting stands for; the store and the provider keep all as texts.
enum class Kind : std::uint8_t { text, boolean, integer };

struct Setting {
    std::string_view name;
    std::string_view messageId; // of the update request that carries it
    Kind kind;
    std::span<const std::string_view> allowed;    // empty: any text of at most kMaxValueBytes
    std::string_view description;                 // one sentence of English
    std::span<const std::string_view> meanings{}; // of the allowed values, one each; empty: plain
};

// All rows, ascending by message id; within an id in the order of its request.
std::span<const Setting> settings();

// The row of a name, or null. Names are compared exactly.
const Setting* findSetting(std::string_view name);

// Names with values, each name once.
using SettingValues = std::vector<std::pair<std::string, std::string>>;

// Why a value does not suit a setting.
enum class Fault : std::uint8_t { none, tooLong, holdsNul, notAllowed };
// The first fault of a value; Fault::none if it is allowed.
Fault faultOf(const Setting& setting, std::string_view value);

// Throws InvalidArgument for an unknown name, a name given twice and, unless `anyValue`, a
// value that is not allowed; its text lists the names or values that are.
void checkSettings(const SettingValues& values, bool anyValue);

} // namespace client
