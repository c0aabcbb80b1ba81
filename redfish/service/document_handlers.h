// The handlers of the documents about the service itself, and of the files that describe it:
// schemas, metadata, message registry. Thread of the loop only.
#pragma once

#include "redfish/gateway/gateway.h"
#include "redfish/service/call.h"
#include "redfish/service/facts.h"

#include <functional>
#include <optional>
#include <string_view>

namespace redfish {

class DocumentHandlers {
public:
    // Borrows `facts`.
    //   read  reads the resource (Gateway::read): the manager's state says whether that works
    DocumentHandlers(Facts& facts, std::function<void(Gateway::Read)> read);
    DocumentHandlers(const DocumentHandlers&) = delete;
    DocumentHandlers& operator=(const DocumentHandlers&) = delete;

    // GET of each document and file. The routes borrow this object.
    Routes routes();

    // The document at an address, for $expand; nothing for an address of other handlers.
    std::optional<model::Json> document(std::string_view address) const;

private:
    // 200: every address of its routes has a document.
    void getFixed(const Call& call, const Respond& respond) const;
    // The same after a read of the resource, since the manager's state depends on its outcome.
    void getManager(const Call& call, const Respond& respond) const;

    Facts& facts_;
    std::function<void(Gateway::Read)> read_;
};

} // namespace redfish
