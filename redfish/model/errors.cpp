#include "redfish/model/errors.h"

#include <algorithm>

namespace redfish::model {

namespace {

constexpr std::size_t kMaxShownBytes = 64;

std::string retryAfter() {
    return std::to_string(kRetryAfterSeconds);
}

} // namespace

Json extendedInfo(const Problem& problem) {
    const MessageEntry& entry = entryOf(problem.message);
    Json info{{"@odata.type", "#Message.v1_1_2.Message"},
              {"MessageId", messageId(problem.message)},
              {"Message", textOf(problem.message, problem.arguments)},
              {"MessageArgs", problem.arguments},
              {"Severity", entry.severity},
              {"MessageSeverity", entry.severity},
              {"Resolution", entry.resolution}};
    if (!problem.property.empty()) {
        info["RelatedProperties"] = Json::array({problem.property});
    }
    return info;
}

Json errorBody(const Problems& problems) {
    const Problem heading =
        problems.size() == 1 ? problems.front() : Problem{Message::generalError, {}, {}};
    Json infos = Json::array();
    std::transform(problems.begin(), problems.end(), std::back_inserter(infos), extendedInfo);
    return {{"error",
             {{"code", messageId(heading.message)},
              {"message", textOf(heading.message, heading.arguments)},
              {"@Message.ExtendedInfo", std::move(infos)}}}};
}

Json successBody(Message message) {
    return {{"@Message.ExtendedInfo", Json::array({extendedInfo({message, {}, {}})})}};
}

int statusOf(const Problems& problems) {
    const int first = entryOf(problems.front().message).status;
    const bool agree = std::all_of(problems.begin(), problems.end(), [first](const Problem& each) {
        return entryOf(each.message).status == first;
    });
    return agree ? first : entryOf(Message::generalError).status;
}

Problem problemOf(const client::Answer& answer) {
    for (const Message message :
         {Message::internalError, Message::invalidObject, Message::actionNotSupported}) {
        // Without the arguments of its message the answer could not be shown.
        if (answer.messageId == entryOf(message).name &&
            answer.arguments.size() == entryOf(message).arguments.size()) {
            return {message, answer.arguments, {}};
        }
    }
    return {Message::providerRefused, {answer.messageId}, {}};
}

Problem problemOf(const client::Error& error) {
    if (const auto* const answered = dynamic_cast<const client::AnsweredOtherwise*>(&error)) {
        return problemOf(answered->answer);
    }
    // What is missing from the store, the provider writes when it starts.
    if (dynamic_cast<const client::NobodyThere*>(&error) != nullptr ||
        dynamic_cast<const client::StoreUnreachable*>(&error) != nullptr ||
        dynamic_cast<const client::StoreContents*>(&error) != nullptr) {
        return {Message::providerUnavailable, {retryAfter()}, {}};
    }
    if (dynamic_cast<const client::NoAnswer*>(&error) != nullptr) {
        return {Message::operationTimeout, {}, {}};
    }
    if (dynamic_cast<const client::LeaseHeld*>(&error) != nullptr) {
        return {Message::resourceInUse, {}, {}};
    }
    return {Message::internalError, {}, {}};
}

std::string shown(const Json& value) {
    std::string text = serialise(value);
    if (text.size() <= kMaxShownBytes) {
        return text;
    }
    std::size_t end = kMaxShownBytes;
    // Do not cut inside of a UTF-8 sequence.
    while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end;
    }
    return text.substr(0, end) + "...";
}

} // namespace redfish::model
