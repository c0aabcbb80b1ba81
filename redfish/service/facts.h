// What the documents say about this installation at the moment. Thread of the loop only.
#pragma once

#include "redfish/model/services.h"
#include "redfish/security/authenticator.h"
#include "redfish/security/sessions.h"

#include <string>

namespace redfish {

// Collects what the documents need from those who know it. The one object that tells all handlers
// whether the provider is there, as far as the last read found out.
class Facts {
public:
    // Borrows sessions and authenticator, which must outlive this object.
    //   uuid     of this installation; empty: the documents name none
    //   version  of the product
    Facts(std::string uuid, std::string version, const Sessions& sessions,
          const Authenticator& authenticator);

    // The facts as they are now.
    model::ServiceFacts now() const;

    // Records whether the last read of the resource reached the provider.
    void setProviderThere(bool isThere) { isProviderThere_ = isThere; }

private:
    std::string uuid_;
    std::string version_;
    const Sessions& sessions_;
    const Authenticator& authenticator_;
    // Assumed until a read says otherwise.
    bool isProviderThere_ = true;
};

} // namespace redfish
