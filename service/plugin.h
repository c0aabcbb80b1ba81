// The plugin object: it owns the service's own connection to the object store, maps plugin ids to
// their bindings, and looks up what the schema registry says of the resource.
#pragma once

#include "log_line.h"
#include "platform/ossel.h"
#include "platform/plugin_host.h"
#include "records.h"

#include <cstdint>
#include <ios>
#include <iostream>
#include <map>
#include <string>

// The one id under which this service keeps its binding.
inline constexpr unsigned int kPluginId = 100;

// The database type that has a connection to the object store.
inline constexpr int kRedisDatabase = 1;

// Constructed before `main`, used by the main thread, destroyed by the exit handlers. The members
// are open to the service, which is their only user.
template <typename Binding>
class ovrPlugin {
public:
    // Opens the connection and records the binding, which is borrowed. Leaves std::cout in
    // hexadecimal for the rest of the process.
    //   databaseType   1; any other is said on standard output and gets no connection
    ovrPlugin(int databaseType, unsigned int pluginId, Binding* binding);

    // Closes the connection. The bindings stay.
    virtual ~ovrPlugin();
    ovrPlugin(const ovrPlugin&) = delete;
    ovrPlugin& operator=(const ovrPlugin&) = delete;

    // Looks up the schema type id and the instance-collection key of a schema type string.
    // Returns true when both were found; the fields of what was not keep their values, and
    // the first failure is said on standard output.
    bool lookupSchemaTypeIds(const char* schemaType);

    std::map<unsigned int, Binding*> m_bindings; // an absent id reads as null, and stays so
    unsigned int m_bindCount = 0;                // bindings added, an id given twice included
    redisContext* m_redis = nullptr;             // null when not connected
    int m_option = 15;                           // set, and read by nothing here
    std::string m_schemaType;
    std::string m_typeId;
    std::string m_instanceCollection;
};

template <typename Binding>
ovrPlugin<Binding>::ovrPlugin(int databaseType, unsigned int pluginId, Binding* binding) {
    if (databaseType == kRedisDatabase) {
        m_redis = osselRedisConnect();
    } else {
        writeLine("The database type is not cared.");
    }
    m_bindings[pluginId] = binding;
    ++m_bindCount;
    std::cout << std::hex;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): shown as a number, without "0x"
    writeLine("Constructed ", "ovrPlugin", " with ", reinterpret_cast<std::uintptr_t>(binding));
}

template <typename Binding>
ovrPlugin<Binding>::~ovrPlugin() {
    if (m_redis != nullptr) {
        osselRedisDisconnect(m_redis);
    }
    m_redis = nullptr;
}

template <typename Binding>
bool ovrPlugin<Binding>::lookupSchemaTypeIds(const char* schemaType) {
    m_schemaType = schemaType;
    const MallocPtr<char> typeId(
        olGetSchemaTypeIdByField("OsselSchemaInstances", "title", m_schemaType.c_str()));
    if (!typeId) {
        writeLine("Failed to get the schema typeId.");
        return false;
    }
    m_typeId = typeId.get();
    const MallocPtr<char> collection(olObjGetProperty(m_typeId.c_str(), "instanceCollection"));
    if (!collection) {
        writeLine("Failed to get the instance collection key.");
        return false;
    }
    m_instanceCollection = collection.get();
    return true;
}
