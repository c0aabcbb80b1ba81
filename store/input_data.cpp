// Reading a request object: the target and the values that the request carries.
#include "log_line.h"
#include "requests/return_messages.h"
#include "store/instance_operations.h"
#include "store/names.h"
#include "text.h"

#include <cstdlib>
#include <cstring>

namespace {

bool sameName(const char* one, const char* other) {
    return std::strncmp(one, other, sizeof(FieldValuePair::name)) == 0;
}

// Allocates one record per wanted property and fills in the names. Returns null without memory.
FieldValuePair* allocateRecords(int count, const char* const* names) {
    auto* records = static_cast<FieldValuePair*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(FieldValuePair)));
    // Meant: for the names alone, the count narrows to 8 bits.
    fillFieldNames(records, names, static_cast<unsigned char>(count));
    return records;
}

// Copies a stored value into the first record whose wanted name matches.
void copyIfWanted(const FieldValuePair& stored, int count, const char* const* names,
                  FieldValuePair* records) {
    for (int i = 0; i < count; ++i) {
        if (sameName(stored.name, names[i])) {
            copyBounded(records[i].value, boundedText(stored.value));
            return;
        }
    }
}

} // namespace

int getInputData(redisContext* context, std::string key, int count, const char* const* names,
                 std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer) {
    constexpr std::string_view kName = "getInputData";
    instanceKey->clear();
    *data = nullptr;
    unsigned int storedCount = 0;
    const MallocPtr<FieldValuePair[]> stored(osselHashGetAll(context, key.c_str(), &storedCount));
    if (!stored || storedCount == 0) {
        logLine(kName, "Failed to call osselHashGetAll( ", key, " ). uiCount is ", storedCount,
                ".");
        setReturnMessage(answer, "InvalidObject", 1, key.c_str());
        return 1;
    }
    if (count > 0) {
        *data = allocateRecords(count, names);
        if (*data == nullptr) {
            logLine(kName, "Failed to call malloc() for *data.");
            setReturnMessage(answer, "InternalError", 0);
            return 1;
        }
    }
    for (unsigned int i = 0; i < storedCount; ++i) {
        if (sameName(stored[i].name, kOriginalObjectIdField)) {
            *instanceKey = boundedText(stored[i].value);
        } else {
            copyIfWanted(stored[i], count, names, *data);
        }
    }
    return 0;
}

int getActionParameters(redisContext* context, ActionHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer) {
    return getInputData(context, key, row.parameterCount, row.parameterNames, instanceKey, data,
                        answer);
}

int getCreateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer) {
    return getInputData(context, key, row.propertyCount, row.propertyNames, instanceKey, data,
                        answer);
}

int getUpdateProperties(redisContext* context, UpdateHandlerEntry row, std::string key,
                        std::string* instanceKey, FieldValuePair** data, ReturnMessage* answer) {
    return getInputData(context, key, row.propertyCount, row.propertyNames, instanceKey, data,
                        answer);
}
