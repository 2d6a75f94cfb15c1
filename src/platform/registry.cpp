#include <platform/registry.h>
#include <platform/userhome.h>

#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

struct platform::RegKey {
    std::int64_t id;
};

namespace platform {
namespace {

constexpr std::int64_t kClassesRootId = 1;
constexpr std::int64_t kCurrentUserId = 2;
RegKey gClassesRoot{kClassesRootId};
RegKey gCurrentUser{kCurrentUserId};

constexpr LSTATUS kInvalidParameter = 87;
constexpr LSTATUS kNoMoreItems = 259;
constexpr LSTATUS kLockViolation = 33;
constexpr int kBusyTimeoutMs = 10000;

constexpr char kSchema[] = R"sql(
CREATE TABLE IF NOT EXISTS keys(
    id INTEGER PRIMARY KEY,
    parent INTEGER REFERENCES keys(id) ON DELETE CASCADE,
    name TEXT NOT NULL COLLATE NOCASE,
    UNIQUE(parent, name));
CREATE TABLE IF NOT EXISTS vals(
    key INTEGER NOT NULL REFERENCES keys(id) ON DELETE CASCADE,
    name TEXT NOT NULL COLLATE NOCASE,
    type INTEGER NOT NULL,
    data BLOB NOT NULL,
    PRIMARY KEY(key, name));
INSERT OR IGNORE INTO keys(id, parent, name) VALUES (1, NULL, 'HKEY_CLASSES_ROOT'),
                                                    (2, NULL, 'HKEY_CURRENT_USER');
)sql";

LSTATUS FromSqlite(int rc) {
    switch (rc & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return 0;
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ERROR_ACCESS_DENIED;
    case SQLITE_NOMEM:
        return ERROR_OUTOFMEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return kLockViolation;
    default: // corrupt, not a database, I/O errors
        return ERROR_BADDB;
    }
}

struct DbClose {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};

class Statement {
public:
    Statement(sqlite3* db, char const* sql) {
        rc_ = sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr);
    }
    ~Statement() { sqlite3_finalize(stmt_); }
    Statement(Statement const&) = delete;
    Statement& operator=(Statement const&) = delete;

    Statement& Bind(int index, std::int64_t value) {
        if (rc_ == SQLITE_OK) rc_ = sqlite3_bind_int64(stmt_, index, value);
        return *this;
    }
    Statement& Bind(int index, std::string_view text) {
        if (rc_ == SQLITE_OK) {
            rc_ = sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                                    SQLITE_TRANSIENT);
        }
        return *this;
    }
    Statement& BindBlob(int index, void const* data, std::uint32_t size) {
        // A zero-length blob is still a blob, not NULL.
        if (rc_ == SQLITE_OK)
            rc_ = sqlite3_bind_blob(stmt_, index, size != 0 ? data : "", static_cast<int>(size),
                                    SQLITE_TRANSIENT);
        return *this;
    }
    // SQLITE_ROW, SQLITE_DONE or an error.
    int Step() {
        if (rc_ != SQLITE_OK && rc_ != SQLITE_ROW) return rc_;
        rc_ = sqlite3_step(stmt_);
        return rc_;
    }
    std::int64_t Int(int column) const { return sqlite3_column_int64(stmt_, column); }
    std::string_view Text(int column) const {
        auto const* text = reinterpret_cast<char const*>(sqlite3_column_text(stmt_, column));
        return text != nullptr
                   ? std::string_view(text,
                                      static_cast<std::size_t>(sqlite3_column_bytes(stmt_, column)))
                   : std::string_view();
    }
    std::string_view Blob(int column) const {
        auto const* data = static_cast<char const*>(sqlite3_column_blob(stmt_, column));
        return data != nullptr
                   ? std::string_view(data,
                                      static_cast<std::size_t>(sqlite3_column_bytes(stmt_, column)))
                   : std::string_view();
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
    int rc_;
};

// The process's connection, reopened when the database's path changes.
class Store {
public:
    static Store& Get() {
        static Store store;
        return store;
    }

    // The connection, or null with the reason in status.
    sqlite3* Open(LSTATUS* status) {
        std::string const path = RegistryDatabasePath();
        // A connection inherited across fork() belongs to the parent: closing
        // it here could drop the parent's locks, so it is let go unclosed.
        if (pid_ != ::getpid()) {
            (void)db_.release();
            pid_ = ::getpid();
        }
        // A store that failed is tried again at the next call.
        if (db_ != nullptr && path == path_ && openStatus_ == 0) {
            *status = 0;
            return db_.get();
        }
        db_.reset();
        path_ = path;
        openStatus_ = path.empty() ? ERROR_ACCESS_DENIED : Connect();
        *status = openStatus_;
        return openStatus_ == 0 ? db_.get() : nullptr;
    }

private:
    LSTATUS Connect() {
        // A "file:" URI (with ?mode=ro, say) is taken as it is.
        if (path_.rfind("file:", 0) != 0) {
            std::error_code ignored;
            std::filesystem::create_directories(std::filesystem::path(path_).parent_path(),
                                                ignored);
        }
        sqlite3* raw = nullptr;
        int rc = sqlite3_open_v2(path_.c_str(), &raw,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE |
                                     SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_URI,
                                 nullptr);
        if (rc != SQLITE_OK) {
            // A store that may be read but not written still answers reads.
            sqlite3_close_v2(raw);
            raw = nullptr;
            rc = sqlite3_open_v2(path_.c_str(), &raw,
                                 SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_URI,
                                 nullptr);
        }
        db_.reset(raw);
        if (rc != SQLITE_OK) return FromSqlite(rc);
        sqlite3_busy_timeout(raw, kBusyTimeoutMs);
        sqlite3_exec(raw, "PRAGMA foreign_keys=ON", nullptr, nullptr, nullptr);
        // Already WAL once any process has set it; a busy moment here is harmless.
        sqlite3_exec(raw, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
        rc = sqlite3_exec(raw, kSchema, nullptr, nullptr, nullptr);
        if (rc == SQLITE_READONLY) {
            // The schema is there or the store is empty: reads tell which.
            rc = sqlite3_exec(raw, "SELECT count(*) FROM keys", nullptr, nullptr, nullptr);
        }
        return FromSqlite(rc);
    }

    std::unique_ptr<sqlite3, DbClose> db_;
    pid_t pid_ = ::getpid();
    std::string path_;
    LSTATUS openStatus_ = 0;
};

// The process's connection, or null with the reason the store could not be
// opened.
struct Opened {
    sqlite3* db = nullptr;
    LSTATUS status = 0;
};

Opened Connect() {
    Opened opened;
    opened.db = Store::Get().Open(&opened.status);
    return opened;
}

LSTATUS KeyExists(sqlite3* db, std::int64_t id) {
    Statement find(db, "SELECT 1 FROM keys WHERE id = ?");
    int const rc = find.Bind(1, id).Step();
    if (rc == SQLITE_ROW) return 0;
    return rc == SQLITE_DONE ? ERROR_KEY_DELETED : FromSqlite(rc);
}

std::vector<std::string_view> Components(char const* subKey) {
    std::vector<std::string_view> parts;
    std::string_view rest = subKey != nullptr ? subKey : "";
    while (!rest.empty()) {
        std::size_t const cut = rest.find('\\');
        std::string_view const part = rest.substr(0, cut);
        if (!part.empty()) parts.push_back(part);
        if (cut == std::string_view::npos) break;
        rest.remove_prefix(cut + 1);
    }
    return parts;
}

// Walks to a subkey, making the missing ones when asked.
LSTATUS Walk(sqlite3* db, std::int64_t from, char const* subKey, bool create, std::int64_t* id,
             bool* created) {
    LSTATUS status = KeyExists(db, from);
    if (status != 0) return status;
    std::int64_t current = from;
    for (std::string_view const part : Components(subKey)) {
        Statement find(db, "SELECT id FROM keys WHERE parent = ? AND name = ?");
        int rc = find.Bind(1, current).Bind(2, part).Step();
        if (rc == SQLITE_ROW) {
            current = find.Int(0);
            continue;
        }
        if (rc != SQLITE_DONE) return FromSqlite(rc);
        if (!create) return ERROR_FILE_NOT_FOUND;
        Statement insert(db, "INSERT INTO keys(parent, name) VALUES (?, ?)");
        rc = insert.Bind(1, current).Bind(2, part).Step();
        if (rc != SQLITE_DONE) return FromSqlite(rc);
        current = sqlite3_last_insert_rowid(db);
        if (created != nullptr) *created = true;
    }
    *id = current;
    return 0;
}

bool IsString(std::uint32_t type) {
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

// Runs a few statements as one unit, inside a caller's transaction or not.
class Savepoint {
public:
    explicit Savepoint(sqlite3* db) : db_(db) {
        ok_ = sqlite3_exec(db_, "SAVEPOINT reg", nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    ~Savepoint() {
        if (!ok_) return;
        if (!released_) sqlite3_exec(db_, "ROLLBACK TO reg", nullptr, nullptr, nullptr);
        sqlite3_exec(db_, "RELEASE reg", nullptr, nullptr, nullptr);
    }
    Savepoint(Savepoint const&) = delete;
    Savepoint& operator=(Savepoint const&) = delete;
    LSTATUS Release(LSTATUS status) {
        released_ = status == 0;
        return status;
    }

private:
    sqlite3* db_;
    bool ok_ = false;
    bool released_ = false;
};

} // namespace

HKEY const HKEY_CLASSES_ROOT = &gClassesRoot;
HKEY const HKEY_CURRENT_USER = &gCurrentUser;

std::string RegistryDatabasePath() {
    if (char const* path = std::getenv(kRegistryPathVariable); path != nullptr && *path != '\0')
        return path;
    std::string base;
    if (char const* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config == '/') {
        base = config;
    } else if (std::string const home = UserHome(); !home.empty()) {
        base = home + "/.config";
    } else {
        return {}; // nowhere of the user's own
    }
    return base + "/orveltech/registry.db";
}

LSTATUS RegCreateKeyExA(HKEY key, char const* subKey, std::uint32_t, char*, std::uint32_t,
                        std::uint32_t, void*, HKEY* result, std::uint32_t* disposition) {
    if (key == nullptr || result == nullptr) return ERROR_INVALID_HANDLE;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    Savepoint unit(opened.db);
    std::int64_t id = 0;
    bool created = false;
    LSTATUS const status = unit.Release(Walk(opened.db, key->id, subKey, true, &id, &created));
    if (status != 0) return status;
    *result = new RegKey{id};
    if (disposition != nullptr)
        *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return 0;
}

LSTATUS RegOpenKeyExA(HKEY key, char const* subKey, std::uint32_t, std::uint32_t, HKEY* result) {
    if (key == nullptr || result == nullptr) return ERROR_INVALID_HANDLE;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    std::int64_t id = 0;
    LSTATUS const status = Walk(opened.db, key->id, subKey, false, &id, nullptr);
    if (status != 0) return status;
    *result = new RegKey{id};
    return 0;
}

LSTATUS RegQueryValueExA(HKEY key, char const* valueName, std::uint32_t*, std::uint32_t* type,
                         std::uint8_t* data, std::uint32_t* dataSize) {
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    if (data != nullptr && dataSize == nullptr) return kInvalidParameter;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    if (LSTATUS const status = KeyExists(opened.db, key->id); status != 0) return status;
    Statement find(opened.db, "SELECT type, data FROM vals WHERE key = ? AND name = ?");
    int const rc = find.Bind(1, key->id).Bind(2, valueName != nullptr ? valueName : "").Step();
    if (rc == SQLITE_DONE) return ERROR_FILE_NOT_FOUND;
    if (rc != SQLITE_ROW) return FromSqlite(rc);
    auto const storedType = static_cast<std::uint32_t>(find.Int(0));
    std::string_view const stored = find.Blob(1);
    bool const addTerminator = IsString(storedType) && (stored.empty() || stored.back() != '\0');
    auto const size = static_cast<std::uint32_t>(stored.size() + (addTerminator ? 1 : 0));
    if (type != nullptr) *type = storedType;
    if (data == nullptr) {
        if (dataSize != nullptr) *dataSize = size;
        return 0;
    }
    if (*dataSize < size) {
        *dataSize = size;
        return ERROR_MORE_DATA;
    }
    if (!stored.empty()) std::memcpy(data, stored.data(), stored.size());
    if (addTerminator) data[stored.size()] = '\0';
    *dataSize = size;
    return 0;
}

LSTATUS RegSetValueExA(HKEY key, char const* valueName, std::uint32_t, std::uint32_t type,
                       std::uint8_t const* data, std::uint32_t dataSize) {
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    if (data == nullptr && dataSize != 0) return kInvalidParameter;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    if (LSTATUS const status = KeyExists(opened.db, key->id); status != 0) return status;
    Statement put(opened.db,
                  "INSERT OR REPLACE INTO vals(key, name, type, data) VALUES (?, ?, ?, ?)");
    int const rc = put.Bind(1, key->id)
                       .Bind(2, valueName != nullptr ? valueName : "")
                       .Bind(3, std::int64_t{type})
                       .BindBlob(4, data, dataSize)
                       .Step();
    return FromSqlite(rc);
}

LSTATUS RegDeleteValueA(HKEY key, char const* valueName) {
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    Statement drop(opened.db, "DELETE FROM vals WHERE key = ? AND name = ?");
    int const rc = drop.Bind(1, key->id).Bind(2, valueName != nullptr ? valueName : "").Step();
    if (rc != SQLITE_DONE) return FromSqlite(rc);
    return sqlite3_changes(opened.db) != 0 ? 0 : ERROR_FILE_NOT_FOUND;
}

LSTATUS RegDeleteKeyA(HKEY key, char const* subKey) {
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    // The hives themselves stay.
    if (Components(subKey).empty()) return ERROR_ACCESS_DENIED;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    std::int64_t id = 0;
    if (LSTATUS const status = Walk(opened.db, key->id, subKey, false, &id, nullptr); status != 0)
        return status;
    Statement drop(opened.db, "DELETE FROM keys WHERE id = ?");
    return FromSqlite(drop.Bind(1, id).Step());
}

LSTATUS RegCloseKey(HKEY key) {
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    if (key != HKEY_CLASSES_ROOT && key != HKEY_CURRENT_USER) delete key;
    return 0;
}

namespace {

LSTATUS EnumName(HKEY key, std::uint32_t index, std::string* name, char const* sql) {
    if (key == nullptr || name == nullptr) return ERROR_INVALID_HANDLE;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    Statement list(opened.db, sql);
    int const rc = list.Bind(1, key->id).Bind(2, std::int64_t{index}).Step();
    if (rc == SQLITE_DONE) return kNoMoreItems;
    if (rc != SQLITE_ROW) return FromSqlite(rc);
    *name = list.Text(0);
    return 0;
}

} // namespace

LSTATUS RegEnumKeyA(HKEY key, std::uint32_t index, std::string* name) {
    return EnumName(key, index, name,
                    "SELECT name FROM keys WHERE parent = ? ORDER BY name LIMIT 1 OFFSET ?");
}

LSTATUS RegEnumValueA(HKEY key, std::uint32_t index, std::string* name) {
    return EnumName(key, index, name,
                    "SELECT name FROM vals WHERE key = ? ORDER BY name LIMIT 1 OFFSET ?");
}

RegTransaction::RegTransaction() {
    Opened const opened = Connect();
    status_ = opened.status;
    if (opened.db == nullptr) return;
    status_ = FromSqlite(sqlite3_exec(opened.db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    open_ = status_ == 0;
}

RegTransaction::~RegTransaction() {
    if (!open_) return;
    Opened const opened = Connect();
    if (opened.db != nullptr) sqlite3_exec(opened.db, "ROLLBACK", nullptr, nullptr, nullptr);
}

LSTATUS RegTransaction::Commit() {
    if (!open_) return status_;
    open_ = false;
    Opened const opened = Connect();
    if (opened.db == nullptr) return opened.status;
    return FromSqlite(sqlite3_exec(opened.db, "COMMIT", nullptr, nullptr, nullptr));
}

} // namespace platform
