#include "redfish/service/facts.h"

#include <utility>

namespace redfish {

Facts::Facts(std::string uuid, std::string version, const Sessions& sessions,
             const Authenticator& authenticator)
    : uuid_(std::move(uuid)), version_(std::move(version)), sessions_(sessions),
      authenticator_(authenticator) {}

model::ServiceFacts Facts::now() const {
    model::ServiceFacts facts;
    facts.uuid = uuid_;
    facts.version = version_;
    facts.isProviderThere = isProviderThere_;
    facts.sessionTimeout = sessions_.idleLimit();
    facts.minPasswordLength = kMinPasswordLength;
    facts.maxPasswordLength = kMaxPasswordLength;
    facts.lockoutThreshold = static_cast<int>(authenticator_.rules().threshold);
    facts.lockoutDuration = authenticator_.rules().duration;
    facts.lockoutReset = authenticator_.rules().duration;
    return facts;
}

} // namespace redfish
