// The WebGUI resource: read, changed, acted on. How the provider is asked is left to
// redfish/gateway/, what the bodies mean to the model.
#include "client/names.h"
#include "redfish/http/media_type.h"
#include "redfish/model/addresses.h"
#include "redfish/model/settings_change.h"
#include "redfish/service/responses.h"
#include "redfish/service/service.h"

namespace redfish {

namespace {

Response readingResponse(const Reading& reading) {
    return {.status = 200,
            .headers = {{"ETag", reading.entityTag}, {"Allow", "GET, HEAD, PATCH"}},
            .contentType = kJsonType,
            .body = reading.body,
            .feed = nullptr};
}

// What was refused stands beside the values that are in force, with the whole resource where no
// single property is to blame.
Response partlyChanged(const Reading& reading, const model::Problems& problems) {
    model::Json document = model::Json::parse(*reading.body);
    for (const model::Problem& problem : problems) {
        document["@Message.ExtendedInfo"].push_back(model::extendedInfo(problem));
    }
    return jsonResponse(document);
}

} // namespace

void Service::getWebGui(const Call& call, const Respond& respond) {
    parts_.gateway.read([this, query = call.query, respond](const Reading& reading) {
        isProviderThere_ = reading.problems.empty();
        if (!reading.problems.empty()) {
            respond(errorResponse(reading.problems));
            return;
        }
        Response response = readingResponse(reading);
        if (!query.isPlain()) {
            response.body = makeText(model::serialise(
                model::applyQuery(model::Json::parse(*reading.body), query,
                                  [](const std::string&) { return std::nullopt; })));
        }
        respond(std::move(response));
    });
}

void Service::patchWebGui(const Call& call, const Respond& respond) {
    model::Checked<client::SettingValues> changes = model::checkSettingsPatch(call.request.body);
    if (!changes.isGood()) {
        respond(errorResponse(changes.problems));
        return;
    }
    parts_.gateway.change(std::move(changes.value), call.identity.user,
                          std::string(call.request.ifMatch),
                          [this, respond](const ChangeResult& result) {
                              if (!result.problems.empty() && !result.isAnythingChanged) {
                                  respond(errorResponse(result.problems));
                                  return;
                              }
                              parts_.gateway.read([respond, result](const Reading& reading) {
                                  if (!reading.problems.empty()) {
                                      respond(errorResponse(reading.problems));
                                  } else if (!result.problems.empty()) {
                                      respond(partlyChanged(reading, result.problems));
                                  } else {
                                      respond(readingResponse(reading));
                                  }
                              });
                          });
}

void Service::turnOffLcd(const Call& call, const Respond& respond) {
    act(call, client::kTurnOffLcd, respond);
}

void Service::guiReady(const Call& call, const Respond& respond) {
    act(call, client::kGuiReady, respond);
}

void Service::act(const Call& call, const char* action, const Respond& respond) {
    const model::Problems problems = model::checkActionBody(action, call.request.body);
    if (!problems.empty()) {
        respond(errorResponse(problems));
        return;
    }
    parts_.gateway.act(action, [respond](const model::Problems& failed) {
        respond(failed.empty() ? jsonResponse(model::successBody(model::Message::success))
                               : errorResponse(failed));
    });
}

} // namespace redfish
