/// \file
/// The per-user registry: keys by path under two hives, with typed values,
/// kept in an SQLite database so that several processes share it safely.
///
/// The calls follow the registry's: key and value names compare without
/// regard to case, results are the system's error codes, and a read into a
/// buffer that is too small answers ERROR_MORE_DATA with the size needed.
/// The database is $ORVELTECH_REGISTRY when set (a path, or a "file:" URI such
/// as file:/path/registry.db?mode=ro), else $XDG_CONFIG_HOME/orveltech/registry.db
/// (~/.config/... without it).
#pragma once

#include <platform/export.h>

#include <cstdint>
#include <string>

namespace platform {

/// An open key of the registry store (opaque).
struct RegKey;
/// The handle of an open key; close it with RegCloseKey().
using HKEY = RegKey*;
/// The result of a registry call: ERROR_SUCCESS or a system error number.
using LSTATUS = std::int32_t;

/// The hive of class registrations.
SORVANE_API extern HKEY const HKEY_CLASSES_ROOT;
/// The hive of the user's own settings.
SORVANE_API extern HKEY const HKEY_CURRENT_USER;

/// The error numbers that registry calls answer.
enum : LSTATUS {
    /// No such key or value.
    ERROR_FILE_NOT_FOUND = 2,
    /// The key was not opened for the access asked, or the store is read-only.
    ERROR_ACCESS_DENIED = 5,
    /// Not an open key.
    ERROR_INVALID_HANDLE = 6,
    /// Memory could not be had.
    ERROR_OUTOFMEMORY = 14,
    /// The caller's buffer is too small; the size needed was given back.
    ERROR_MORE_DATA = 234,
    /// The database cannot be opened or read.
    ERROR_BADDB = 1009,
    /// The key was deleted while open.
    ERROR_KEY_DELETED = 1018,
    /// A volatile key's child must be volatile too.
    ERROR_CHILD_MUST_BE_VOLATILE = 1021,
};

/// The types of a value.
enum : std::uint32_t {
    /// No type.
    REG_NONE = 0,
    /// A 0-terminated text.
    REG_SZ = 1,
    /// A 0-terminated text with environment references.
    REG_EXPAND_SZ = 2,
    /// Bytes.
    REG_BINARY = 3,
    /// A 32-bit number, little-endian.
    REG_DWORD = 4,
};

/// Access rights of an opened key.
enum : std::uint32_t {
    /// Read values.
    KEY_QUERY_VALUE = 0x0001,
    /// Write values.
    KEY_SET_VALUE = 0x0002,
    /// Read the key.
    KEY_READ = 0x20019,
    /// Write the key.
    KEY_WRITE = 0x20006,
    /// Everything.
    KEY_ALL_ACCESS = 0xF003F,
};

/// What RegCreateKeyExA() did: REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY.
enum : std::uint32_t { REG_CREATED_NEW_KEY = 1, REG_OPENED_EXISTING_KEY = 2 };

/// The environment variable that names the database, for tests and tools.
inline constexpr char kRegistryPathVariable[] = "ORVELTECH_REGISTRY";

/// \return the database this process uses: $ORVELTECH_REGISTRY, else
///         $XDG_CONFIG_HOME/orveltech/registry.db.
SORVANE_API std::string RegistryDatabasePath();

/// Opens a key, making it and the keys above it when missing.
/// \param key an open key or a hive.
/// \param subKey the path below it.
/// \param reserved not used.
/// \param keyClass not used.
/// \param options not used.
/// \param access the KEY_ rights wanted.
/// \param security not used.
/// \param result receives the key, which the caller closes with RegCloseKey().
/// \param disposition when not null, receives REG_CREATED_NEW_KEY or
///        REG_OPENED_EXISTING_KEY.
/// \return ERROR_SUCCESS or an error number.
SORVANE_API LSTATUS RegCreateKeyExA(HKEY key, char const* subKey, std::uint32_t reserved,
                                    char* keyClass, std::uint32_t options, std::uint32_t access,
                                    void* security, HKEY* result, std::uint32_t* disposition);
/// Opens an existing key.
/// \param key an open key or a hive.
/// \param subKey the path below it.
/// \param options not used.
/// \param access the KEY_ rights wanted.
/// \param result receives the key, which the caller closes with RegCloseKey().
/// \return ERROR_SUCCESS, ERROR_FILE_NOT_FOUND or another error number.
SORVANE_API LSTATUS RegOpenKeyExA(HKEY key, char const* subKey, std::uint32_t options,
                                  std::uint32_t access, HKEY* result);
/// Reads a value. Strings are read back with a terminator, whether or not
/// one was stored.
/// \param key an open key.
/// \param valueName the value's name; null or "" is the key's default value.
/// \param reserved not used.
/// \param type when not null, receives the REG_ type.
/// \param data the caller's buffer, or null to ask for the size.
/// \param dataSize the buffer's size on entry, the bytes written (or needed) on return.
/// \return ERROR_SUCCESS, ERROR_MORE_DATA when the buffer is too small (with
///         the size needed in *dataSize), ERROR_FILE_NOT_FOUND or another error number.
SORVANE_API LSTATUS RegQueryValueExA(HKEY key, char const* valueName, std::uint32_t* reserved,
                                     std::uint32_t* type, std::uint8_t* data,
                                     std::uint32_t* dataSize);
/// Writes a value, replacing one of the same name.
/// \param key an open key.
/// \param valueName the value's name; null or "" is the key's default value.
/// \param reserved not used.
/// \param type the REG_ type.
/// \param data the bytes.
/// \param dataSize their count.
/// \return ERROR_SUCCESS or an error number.
SORVANE_API LSTATUS RegSetValueExA(HKEY key, char const* valueName, std::uint32_t reserved,
                                   std::uint32_t type, std::uint8_t const* data,
                                   std::uint32_t dataSize);
/// Deletes a value.
/// \param key an open key.
/// \param valueName the value's name.
/// \return ERROR_SUCCESS, ERROR_FILE_NOT_FOUND or another error number.
SORVANE_API LSTATUS RegDeleteValueA(HKEY key, char const* valueName);
/// Deletes a key and everything below it.
/// \param key an open key or a hive.
/// \param subKey the path of the key to delete.
/// \return ERROR_SUCCESS, ERROR_FILE_NOT_FOUND or another error number.
SORVANE_API LSTATUS RegDeleteKeyA(HKEY key, char const* subKey);
/// Closes a key of RegCreateKeyExA() or RegOpenKeyExA().
/// \param key the key.
/// \return ERROR_SUCCESS or ERROR_INVALID_HANDLE.
SORVANE_API LSTATUS RegCloseKey(HKEY key);

/// The name of a subkey, for tools that list them.
/// \param key an open key.
/// \param index the subkey's place, from 0.
/// \param name receives the name.
/// \return ERROR_SUCCESS, or an error number past the last.
SORVANE_API LSTATUS RegEnumKeyA(HKEY key, std::uint32_t index, std::string* name);
/// The name of a value, for tools that list them.
/// \param key an open key.
/// \param index the value's place, from 0.
/// \param name receives the name.
/// \return ERROR_SUCCESS, or an error number past the last.
SORVANE_API LSTATUS RegEnumValueA(HKEY key, std::uint32_t index, std::string* name);

/// \brief Makes every registry call in its lifetime one transaction, taken
/// for writing at once, so that read-change-write sequences of several
/// processes are serialised.
///
/// Rolled back unless committed. One thread at a time.
class SORVANE_API RegTransaction {
public:
    RegTransaction();
    ~RegTransaction();
    RegTransaction(RegTransaction const&) = delete;
    RegTransaction& operator=(RegTransaction const&) = delete;

    /// The result of beginning: calls fail alike inside a failed transaction.
    /// \return ERROR_SUCCESS or the error number of the begin.
    LSTATUS Status() const { return status_; }
    /// Commits the calls made since the transaction began.
    /// \return ERROR_SUCCESS or an error number (then nothing was kept).
    LSTATUS Commit();

private:
    LSTATUS status_;
    bool open_ = false;
};

} // namespace platform
