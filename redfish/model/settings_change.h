// A PATCH of the WebGUI resource and a POST on its actions, checked against the schema before
// anything is sent to the provider.
#pragma once

#include "client/settings.h"
#include "redfish/model/body.h"

namespace redfish::model {

// The properties of the resource that can be written: every setting but the name of the user,
// which is known from the sign-in. In the order of the settings' table.
std::vector<const client::Setting*> writableSettings();

// The changes that the body of a PATCH asks for, in the names and values of the provider.
Checked<client::SettingValues> checkSettingsPatch(std::string_view body);

// The body of a POST on an action: none of the actions has parameters, so that it is empty or an
// empty object.
Problems checkActionBody(std::string_view action, std::string_view body);

} // namespace redfish::model
