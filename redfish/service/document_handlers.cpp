#include "redfish/service/document_handlers.h"

#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"
#include "redfish/model/addresses.h"
#include "redfish/model/messages.h"
#include "redfish/model/schemas.h"
#include "redfish/service/responses.h"

#include <algorithm>
#include <array>
#include <utility>

namespace redfish {

namespace {

using model::Privilege;

// The standard opens these to everyone, so that a client can find out what it talks to.
constexpr std::array kOpenDocuments{model::kVersions, model::kServiceRoot, model::kOdata};

struct File {
    std::string_view address;
    Privilege privilege;
    std::string_view type;
    std::string (*text)();
};

template <const std::string_view& text>
std::string textOf() {
    return std::string(text);
}

std::string registryText() {
    return model::serialise(model::messageRegistry());
}

// clang-format off
constexpr std::array kFiles{
    //   address                 privilege         type             text
    File{model::kMetadata,        Privilege::none,  kXmlType,        model::metadata},
    File{model::kMessageRegistry, Privilege::login, kJsonType,       registryText},
    File{model::kWebGuiSchema,    Privilege::login, kJsonSchemaType, model::webGuiJsonSchema},
    File{model::kManagerSchema,   Privilege::login, kJsonSchemaType, textOf<model::kManagerJsonSchema>},
    File{model::kWebGuiCsdlFile,  Privilege::none,  kXmlType,        model::webGuiCsdl},
    File{model::kManagerCsdlFile, Privilege::none,  kXmlType,        textOf<model::kManagerCsdl>},
};
// clang-format on

Response fileResponse(const File& file) {
    Response response{.status = 200,
                      .headers = {},
                      .contentType = file.type,
                      .body = makeText(file.text()),
                      .feed = nullptr};
    response.headers.emplace_back("ETag", entityTag(*response.body));
    return response;
}

} // namespace

DocumentHandlers::DocumentHandlers(Facts& facts, std::function<void(Gateway::Read)> read)
    : facts_(facts), read_(std::move(read)) {}

Routes DocumentHandlers::routes() {
    Routes routes;
    for (const File& file : kFiles) {
        routes.push_back(
            {std::string(file.address), Method::get, file.privilege,
             [&file](const Call&, const Respond& respond) { respond(fileResponse(file)); }});
    }
    for (const std::string& address : model::fixedAddresses()) {
        const bool isOpen = std::find(kOpenDocuments.begin(), kOpenDocuments.end(), address) !=
                            kOpenDocuments.end();
        routes.push_back(
            {address, Method::get, isOpen ? Privilege::none : Privilege::login,
             handleBy(this, address == model::kManager ? &DocumentHandlers::getManager
                                                       : &DocumentHandlers::getFixed)});
    }
    return routes;
}

std::optional<model::Json> DocumentHandlers::document(std::string_view address) const {
    return model::fixedDocument(address, facts_.now());
}

void DocumentHandlers::getFixed(const Call& call, const Respond& respond) const {
    respond(documentResponse(call, document(call.address).value()));
}

// The manager's state says whether the provider is there, so look first.
void DocumentHandlers::getManager(const Call& call, const Respond& respond) const {
    read_([this, call, respond](const Reading& reading) {
        facts_.setProviderThere(reading.problems.empty());
        respond(documentResponse(call, model::manager(facts_.now())));
    });
}

} // namespace redfish
