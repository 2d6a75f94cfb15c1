// The per-user registry: keys by path under two hives, with typed values,
// kept in an SQLite database so that several processes share it safely.
//
// The calls follow the registry's: key and value names compare without
// regard to case, results are the system's error codes, and a read into a
// buffer that is too small answers ERROR_MORE_DATA with the size needed.
// The database is $ORVELTECH_REGISTRY when set (a path, or a "file:" URI such
// as file:/path/registry.db?mode=ro), else $XDG_CONFIG_HOME/orveltech/registry.db
// (~/.config/... without it).
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <string>

namespace platform {

struct RegKey;
using HKEY = RegKey*;
using LSTATUS = std::int32_t;

SORVANE_API extern HKEY const HKEY_CLASSES_ROOT;
SORVANE_API extern HKEY const HKEY_CURRENT_USER;

enum : LSTATUS {
    ERROR_FILE_NOT_FOUND = 2,
    ERROR_ACCESS_DENIED = 5,
    ERROR_INVALID_HANDLE = 6,
    ERROR_OUTOFMEMORY = 14,
    ERROR_MORE_DATA = 234,
    ERROR_BADDB = 1009,
    ERROR_KEY_DELETED = 1018,
    ERROR_CHILD_MUST_BE_VOLATILE = 1021,
};

enum : std::uint32_t {
    REG_NONE = 0,
    REG_SZ = 1,
    REG_EXPAND_SZ = 2,
    REG_BINARY = 3,
    REG_DWORD = 4,
};

enum : std::uint32_t {
    KEY_QUERY_VALUE = 0x0001,
    KEY_SET_VALUE = 0x0002,
    KEY_READ = 0x20019,
    KEY_WRITE = 0x20006,
    KEY_ALL_ACCESS = 0xF003F,
};

enum : std::uint32_t { REG_CREATED_NEW_KEY = 1, REG_OPENED_EXISTING_KEY = 2 };

// The environment variable that names the database, for tests and tools.
inline constexpr char kRegistryPathVariable[] = "ORVELTECH_REGISTRY";

SORVANE_API std::string RegistryDatabasePath();

SORVANE_API LSTATUS RegCreateKeyExA(HKEY key, char const* subKey, std::uint32_t reserved,
                                    char* keyClass, std::uint32_t options, std::uint32_t access,
                                    void* security, HKEY* result, std::uint32_t* disposition);
SORVANE_API LSTATUS RegOpenKeyExA(HKEY key, char const* subKey, std::uint32_t options,
                                  std::uint32_t access, HKEY* result);
// Strings read back with a terminator, whether or not one was stored.
SORVANE_API LSTATUS RegQueryValueExA(HKEY key, char const* valueName, std::uint32_t* reserved,
                                     std::uint32_t* type, std::uint8_t* data,
                                     std::uint32_t* dataSize);
SORVANE_API LSTATUS RegSetValueExA(HKEY key, char const* valueName, std::uint32_t reserved,
                                   std::uint32_t type, std::uint8_t const* data,
                                   std::uint32_t dataSize);
SORVANE_API LSTATUS RegDeleteValueA(HKEY key, char const* valueName);
// The key and everything below it.
SORVANE_API LSTATUS RegDeleteKeyA(HKEY key, char const* subKey);
SORVANE_API LSTATUS RegCloseKey(HKEY key);

// Names of the subkeys and values of a key, for tools that list them.
SORVANE_API LSTATUS RegEnumKeyA(HKEY key, std::uint32_t index, std::string* name);
SORVANE_API LSTATUS RegEnumValueA(HKEY key, std::uint32_t index, std::string* name);

// Every registry call in its lifetime is one transaction, taken for writing
// at once, so that read-change-write sequences of several processes are
// serialised. Rolled back unless committed. One thread at a time.
class SORVANE_API RegTransaction {
public:
    RegTransaction();
    ~RegTransaction();
    RegTransaction(RegTransaction const&) = delete;
    RegTransaction& operator=(RegTransaction const&) = delete;

    // The result of beginning: calls fail alike inside a failed transaction.
    LSTATUS Status() const { return status_; }
    LSTATUS Commit();

private:
    LSTATUS status_;
    bool open_ = false;
};

} // namespace platform
