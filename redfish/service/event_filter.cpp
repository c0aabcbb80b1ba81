#include "redfish/service/event_filter.h"

#include <array>
#include <utility>
#include <vector>

namespace redfish {

class EventFilter::Node {
public:
    enum class Kind : std::uint8_t { compare, negation, conjunction, disjunction };

    Kind kind = Kind::compare;
    std::string EventTraits::*trait = nullptr; // null: EventFormatType, which is always "Event"
    bool isEqual = true;
    std::string value;
    std::vector<std::shared_ptr<const Node>> parts;

    bool takes(const EventTraits& traits) const {
        switch (kind) {
        case Kind::negation:
            return !parts[0]->takes(traits);
        case Kind::conjunction:
            return parts[0]->takes(traits) && parts[1]->takes(traits);
        case Kind::disjunction:
            return parts[0]->takes(traits) || parts[1]->takes(traits);
        default:
            break;
        }
        return ((trait == nullptr ? "Event" : traits.*trait) == value) == isEqual;
    }
};

namespace {

using Node = EventFilter::Node;
using Pointer = std::shared_ptr<const Node>;

struct Trait {
    std::string_view name;
    std::string EventTraits::*member;
};
constexpr std::array kTraits{
    Trait{.name = "MessageId", .member = &EventTraits::messageId},
    Trait{.name = "RegistryPrefix", .member = &EventTraits::registryPrefix},
    Trait{.name = "OriginResource", .member = &EventTraits::originResource},
    Trait{.name = "EventType", .member = &EventTraits::eventType},
    Trait{.name = "ResourceType", .member = &EventTraits::resourceType},
    Trait{.name = "EventFormatType", .member = nullptr},
};

constexpr int kMaxDepth = 16;
constexpr std::size_t kMaxBytes = 1024;

// Recursive descent: disjunction, conjunction, negation or parentheses, comparison. Null: invalid.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    Pointer readAll() {
        Pointer root = readJoined(Node::Kind::disjunction, 0);
        skipBlanks();
        return rest_.empty() ? root : nullptr;
    }

private:
    Pointer readJoined(Node::Kind kind, int depth) {
        const bool isOuter = kind == Node::Kind::disjunction;
        const auto readPart = [&] {
            return isOuter ? readJoined(Node::Kind::conjunction, depth) : readSingle(depth);
        };
        Pointer left = readPart();
        while (left && takeWord(isOuter ? "or" : "and")) {
            Pointer right = readPart();
            if (!right) {
                return nullptr;
            }
            auto joined = std::make_shared<Node>();
            joined->kind = kind;
            joined->parts = {std::move(left), std::move(right)};
            left = std::move(joined);
        }
        return left;
    }

    Pointer readSingle(int depth) {
        if (depth > kMaxDepth) {
            return nullptr;
        }
        if (takeWord("not")) {
            Pointer part = readSingle(depth + 1);
            if (!part) {
                return nullptr;
            }
            auto negation = std::make_shared<Node>();
            negation->kind = Node::Kind::negation;
            negation->parts = {std::move(part)};
            return negation;
        }
        skipBlanks();
        if (!rest_.starts_with('(')) {
            return readComparison();
        }
        rest_.remove_prefix(1);
        Pointer inner = readJoined(Node::Kind::disjunction, depth + 1);
        skipBlanks();
        if (!rest_.starts_with(')')) {
            return nullptr;
        }
        rest_.remove_prefix(1);
        return inner;
    }

    Pointer readComparison() {
        const std::string_view name = peekWord();
        rest_.remove_prefix(name.size());
        for (const Trait& trait : kTraits) {
            if (trait.name != name) {
                continue;
            }
            auto comparison = std::make_shared<Node>();
            comparison->trait = trait.member;
            comparison->isEqual = !takeWord("ne");
            if (comparison->isEqual && !takeWord("eq")) {
                return nullptr;
            }
            return readValue(comparison->value) ? comparison : nullptr;
        }
        return nullptr;
    }

    // Within quotes a quote is doubled.
    bool readValue(std::string& value) {
        skipBlanks();
        if (!rest_.starts_with('\'')) {
            value = peekWord();
            rest_.remove_prefix(value.size());
            return !value.empty();
        }
        rest_.remove_prefix(1);
        while (!rest_.empty()) {
            const bool isQuote = rest_.front() == '\'';
            if (isQuote && !rest_.starts_with("''")) {
                rest_.remove_prefix(1);
                return true;
            }
            value += rest_.front();
            rest_.remove_prefix(isQuote ? 2 : 1);
        }
        return false;
    }

    bool takeWord(std::string_view word) {
        if (peekWord() != word) {
            return false;
        }
        rest_.remove_prefix(word.size());
        return true;
    }

    std::string_view peekWord() {
        skipBlanks();
        return rest_.substr(0, rest_.find_first_of(" \t()'"));
    }

    void skipBlanks() {
        while (rest_.starts_with(' ') || rest_.starts_with('\t')) {
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
};

} // namespace

std::optional<EventFilter> EventFilter::parse(std::string_view text) {
    EventFilter filter;
    if (text.empty()) {
        return filter;
    }
    filter.root_ = text.size() <= kMaxBytes ? Reader(text).readAll() : nullptr;
    if (!filter.root_) {
        return std::nullopt;
    }
    return filter;
}

bool EventFilter::takes(const EventTraits& traits) const {
    return !root_ || root_->takes(traits);
}

} // namespace redfish
