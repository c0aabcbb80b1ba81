// The resources that say something about the service itself, and the files that describe it.
// What they say is left to the model.
#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"
#include "redfish/model/addresses.h"
#include "redfish/model/messages.h"
#include "redfish/model/schemas.h"
#include "redfish/service/responses.h"
#include "redfish/service/service.h"

#include <array>

namespace redfish {

namespace {

struct File {
    std::string_view address;
    std::string_view type;
    std::string (*text)();
};
constexpr std::array kFiles{
    File{.address = model::kMetadata, .type = kXmlType, .text = [] { return model::metadata(); }},
    File{.address = model::kMessageRegistry,
         .type = kJsonType,
         .text = [] { return model::serialise(model::messageRegistry()); }},
    File{.address = model::kWebGuiSchema,
         .type = kJsonSchemaType,
         .text = [] { return std::string(model::kWebGuiJsonSchema); }},
    File{.address = model::kManagerSchema,
         .type = kJsonSchemaType,
         .text = [] { return std::string(model::kManagerJsonSchema); }},
    File{.address = model::kWebGuiCsdlFile,
         .type = kXmlType,
         .text = [] { return std::string(model::kWebGuiCsdl); }},
    File{.address = model::kManagerCsdlFile,
         .type = kXmlType,
         .text = [] { return std::string(model::kManagerCsdl); }},
};

// The address as the model spells it: the service root ends with a slash, nothing else does.
std::string addressOf(const Request& request) {
    std::string path = request.path;
    if (path == "/redfish/v1") {
        return std::string(model::kServiceRoot);
    }
    if (path != model::kServiceRoot && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

} // namespace

model::ServiceFacts Service::facts() const {
    model::ServiceFacts facts;
    facts.uuid = options_.uuid;
    facts.version = options_.version;
    facts.isProviderThere = isProviderThere_;
    facts.sessionTimeout = parts_.sessions.idleLimit();
    facts.shortestPassword = kShortestPassword;
    facts.longestPassword = kLongestPassword;
    facts.lockoutThreshold = static_cast<int>(parts_.authenticator.rules().threshold);
    facts.lockoutDuration = parts_.authenticator.rules().duration;
    facts.lockoutReset = parts_.authenticator.rules().duration;
    return facts;
}

void Service::answerDocument(const Call& call, const model::Json& document,
                             const Respond& respond) const {
    Response response = call.query.isPlain()
                            ? jsonResponse(document)
                            : jsonResponse(model::applyQuery(
                                  document, call.query, [this, &call](const std::string& address) {
                                      return lookUp(call, address);
                                  }));
    response.headers.emplace_back("ETag", entityTag(*response.body));
    response.headers.emplace_back("Allow", router_.allow(addressOf(call.request)));
    respond(std::move(response));
}

std::optional<model::Json> Service::lookUp(const Call& call, const std::string& address) const {
    const std::string sessions = std::string(model::kSessions) + "/";
    const std::string accounts = std::string(model::kAccounts) + "/";
    if (address.starts_with(sessions)) {
        return sessionDocument(call, address.substr(sessions.size()));
    }
    if (address.starts_with(accounts)) {
        return accountDocument(call, address.substr(accounts.size()));
    }
    if (address == model::kSessions) {
        return sessionsDocument(call);
    }
    if (address == model::kAccounts) {
        return accountsDocument(call);
    }
    return model::fixedDocument(address, facts());
}

void Service::getFixed(const Call& call, const Respond& respond) {
    const std::string address = addressOf(call.request);
    const std::optional<model::Json> document = model::fixedDocument(address, facts());
    if (!document) {
        respond(errorResponse(model::Message::resourceMissingAtUri, {address}));
        return;
    }
    answerDocument(call, *document, respond);
}

// The manager tells whether the provider is there, so that is found out first.
void Service::getManager(const Call& call, const Respond& respond) {
    parts_.gateway.read([this, call, respond](const Reading& reading) {
        isProviderThere_ = reading.problems.empty();
        answerDocument(call, model::manager(facts()), respond);
    });
}

void Service::getFile(const Call& call, const Respond& respond) {
    const std::string address = addressOf(call.request);
    for (const File& file : kFiles) {
        if (file.address == address) {
            Response response{.status = 200,
                              .headers = {},
                              .contentType = file.type,
                              .body = makeText(file.text()),
                              .feed = nullptr};
            response.headers.emplace_back("ETag", entityTag(*response.body));
            response.headers.emplace_back("Allow", router_.allow(address));
            respond(std::move(response));
            return;
        }
    }
    respond(errorResponse(model::Message::resourceMissingAtUri, {address}));
}

} // namespace redfish
