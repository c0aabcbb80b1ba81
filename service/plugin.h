// The plugin object: owns the service's connection to the object store, maps plugin ids to their
// bindings, and looks up the resource in the schema registry.
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

// The only database type that is connected to the object store.
inline constexpr int kRedisDatabase = 1;

// Constructed before `main`, destroyed by the exit handlers. The members are public: all of
// service/ uses them. The hook and the workers read m_bindings; only the constructor writes it.
template <typename Binding>
class ovrPlugin {
public:
    // Opens the connection and records the binding, which it borrows. Switches std::cout to
    // hexadecimal for the rest of the process.
    //   databaseType   1; any other is logged and gets no connection
    ovrPlugin(int databaseType, unsigned int pluginId, Binding* binding);

    // Closes the connection, leaves the bindings alone.
    virtual ~ovrPlugin();
    ovrPlugin(const ovrPlugin&) = delete;
    ovrPlugin& operator=(const ovrPlugin&) = delete;

    // Looks up the schema type id and the instance-collection key of a schema type string. Returns
    // true if both exist. Logs the first failure; what was not found keeps its old value.
    bool lookupSchemaTypeIds(const char* schemaType);

    std::map<unsigned int, Binding*> m_bindings; // operator[] inserts null for an absent id
    unsigned int m_bindCount = 0;                // bindings added, repeated ids included
    redisContext* m_redis = nullptr;             // null if not connected
    int m_option = 15;                           // set by `main`, never read
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
