// Checks of a PATCH of the WebGUI resource and of a POST on its actions, before anything is sent to
// the provider. The rules of the settings are those of client/settings.h. Any thread.
#pragma once

#include "client/settings.h"
#include "redfish/model/body.h"

namespace redfish::model {

// The writable properties of the resource: every setting but the name of the user, which is known
// from the sign-in. In the order of the table of settings, whose rows they point to.
std::vector<const client::Setting*> writableSettings();

// The changes that the body of a PATCH asks for, at least one, with names and values as the
// provider takes them. Every problem is reported, not only the first.
Checked<client::SettingValues> checkSettingsPatch(std::string_view body);

// The problems of the body of a POST on an action. No action has parameters, so the body must be
// missing or an empty object.
//   action  its name, for the messages
Problems checkActionBody(std::string_view action, std::string_view body);

} // namespace redfish::model
