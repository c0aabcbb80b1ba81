// The records that the daemon's subsystems and the device libraries pass to each other. The layout
// of FieldValuePair, InstanceSlot and ReturnMessage is part of the binary contract.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

// A field of a hash in the object store, or a property value of a request. Both texts are
// NUL-terminated, at most 1023 characters.
struct FieldValuePair {
    char name[1024];
    char value[1024];
};
static_assert(sizeof(FieldValuePair) == 2048);
static_assert(offsetof(FieldValuePair, value) == 1024);

// A NUL-terminated instance UUID. An instance set is an array of these slots with a count.
// NOLINTNEXTLINE(modernize-use-using): spelled as the object-store contract spells it
typedef char InstanceSlot[1024];
static_assert(sizeof(InstanceSlot) == 1024);

// The answer to one request. Owns `args` and every text in it; requests/return_messages.h fills and
// frees them.
struct ReturnMessage {
    char messageId[128];   // NUL-terminated, at most 127 characters
    std::uint8_t argCount; // entries in args; at most 5 can be sent
    char** args;           // argCount texts, or null for none
};
static_assert(sizeof(ReturnMessage) == (sizeof(void*) == 4 ? 136 : 144));
static_assert(offsetof(ReturnMessage, argCount) == 128);
static_assert(offsetof(ReturnMessage, args) == (sizeof(void*) == 4 ? 132 : 136));

// What the schema definitions in the store say about this service.
struct ResourceTypeIds {
    std::string schemaTypeId; // also the callback id and the work tree's collection
    std::string webGUITypeId;
    std::string actionsTypeId;
    std::string oemTypeId;
    std::string turnOffLCDTypeId;
    std::string guiReadyTypeId;
    std::string instanceCollectionKey; // list or set of the WebGUI instances' keys
};

// Keys of the WebGUI instances that the service created, in ascending order.
using InstanceKeySet = std::set<std::string>;

// Frees what a device library allocated with the C allocator.
struct FreeDeleter {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

// Owns memory that a device library has allocated: `MallocPtr<char> text{...};`
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;
