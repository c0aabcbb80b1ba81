#include "redfish/service/webgui_handlers.h"

#include "client/names.h"
#include "redfish/http/media_type.h"
#include "redfish/model/addresses.h"
#include "redfish/model/settings_change.h"
#include "redfish/service/responses.h"

#include <utility>

namespace redfish {

namespace {

using model::Privilege;

Response readingResponse(const Reading& reading) {
    return {.status = 200,
            .headers = {{"ETag", reading.entityTag}},
            .contentType = kJsonType,
            .body = reading.body,
            .feed = nullptr};
}

// The values in force with the problems beside them: as annotations of the whole resource, since
// the provider blames no single property.
Response partlyChanged(const Reading& reading, const model::Problems& problems) {
    model::Json document = model::Json::parse(*reading.body);
    for (const model::Problem& problem : problems) {
        document["@Message.ExtendedInfo"].push_back(model::extendedInfo(problem));
    }
    return jsonResponse(document);
}

} // namespace

WebGuiAccess accessTo(Gateway& gateway) {
    return {
        .read = [&gateway](Gateway::Read done) { gateway.read(std::move(done)); },
        .change =
            [&gateway](client::SettingValues changes, std::string user, std::string ifMatch,
                       Gateway::Changed done) {
                gateway.change(std::move(changes), std::move(user), std::move(ifMatch),
                               std::move(done));
            },
        .act = [&gateway](std::string action,
                          Gateway::Done done) { gateway.act(std::move(action), std::move(done)); }};
}

WebGuiHandlers::WebGuiHandlers(WebGuiAccess access, Facts& facts)
    : access_(std::move(access)), facts_(facts) {}

Routes WebGuiHandlers::routes() {
    using H = WebGuiHandlers;
    const auto at = [](std::string_view address) { return std::string(address); };
    // clang-format off
    return {
        {at(model::kWebGui),           Method::get,   Privilege::login,               handleBy(this, &H::get)},
        {at(model::kWebGui),           Method::patch, Privilege::configureComponents, handleBy(this, &H::patch)},
        {at(model::kTurnOffLcdTarget), Method::post,  Privilege::configureComponents, handleBy(this, &H::turnOffLcd)},
        {at(model::kGuiReadyTarget),   Method::post,  Privilege::configureComponents, handleBy(this, &H::guiReady)},
    };
    // clang-format on
}

void WebGuiHandlers::get(const Call& call, const Respond& respond) const {
    access_.read([this, query = call.query, respond](const Reading& reading) {
        facts_.setProviderThere(reading.problems.empty());
        if (!reading.problems.empty()) {
            respond(errorResponse(reading.problems));
            return;
        }
        Response response = readingResponse(reading);
        if (!query.isPlain()) {
            // Nothing in the resource can be expanded.
            response.body = makeText(model::serialise(
                model::applyQuery(model::Json::parse(*reading.body), query,
                                  [](const std::string&) { return std::nullopt; })));
        }
        respond(std::move(response));
    });
}

void WebGuiHandlers::patch(const Call& call, const Respond& respond) const {
    model::Checked<client::SettingValues> changes = model::checkSettingsPatch(call.request.body);
    if (!changes.isGood()) {
        respond(errorResponse(changes.problems));
        return;
    }
    access_.change(std::move(changes.value), call.identity.user, std::string(call.request.ifMatch),
                   [respond](const ChangeResult& result) {
                       if (!result.isAnythingChanged) {
                           respond(errorResponse(result.problems));
                       } else if (!result.reading.problems.empty()) {
                           respond(errorResponse(result.reading.problems));
                       } else if (!result.problems.empty()) {
                           respond(partlyChanged(result.reading, result.problems));
                       } else {
                           respond(readingResponse(result.reading));
                       }
                   });
}

void WebGuiHandlers::turnOffLcd(const Call& call, const Respond& respond) const {
    act(call, client::kTurnOffLcd, respond);
}

void WebGuiHandlers::guiReady(const Call& call, const Respond& respond) const {
    act(call, client::kGuiReady, respond);
}

void WebGuiHandlers::act(const Call& call, const char* action, const Respond& respond) const {
    const model::Problems problems = model::checkActionBody(action, call.request.body);
    if (!problems.empty()) {
        respond(errorResponse(problems));
        return;
    }
    access_.act(action, [respond](const model::Problems& failed) {
        respond(failed.empty() ? jsonResponse(model::successBody(model::Message::success))
                               : errorResponse(failed));
    });
}

} // namespace redfish
