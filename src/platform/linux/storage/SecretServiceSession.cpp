#include "platform/linux/storage/SecretServiceSession.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include <gio/gio.h>
#include <libsecret/secret.h>

#include "platform/linux/storage/SecretStatuses.h"

namespace quillard::xdg {
namespace {

using platform::SecretReading;
using platform::SecretStatus;
using platform::SecretStatusCode;

constexpr const char* kBusName = "org.freedesktop.secrets";
constexpr const char* kContentType = "application/octet-stream";
constexpr const char* kWouldPrompt = "It is locked, and unlocking would ask the user.";

const SecretStatus kLocked{SecretStatusCode::interactionNotAllowed, kWouldPrompt};
const SecretStatus kNoCollection{SecretStatusCode::missingEntitlement, "There is no default keyring."};

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

struct ValueUnref {
  void operator()(SecretValue* value) const { secret_value_unref(value); }
};
using OwnedValue = std::unique_ptr<SecretValue, ValueUnref>;

struct TableUnref {
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, TableUnref>;

// Room for the error of one call.
class Error {
 public:
  Error() = default;
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;
  ~Error() { g_clear_error(&error); }
  GError** out() {
    g_clear_error(&error);
    return &error;
  }
  [[nodiscard]] bool isSet() const { return error != nullptr; }
  [[nodiscard]] SecretStatus status() const;

 private:
  [[nodiscard]] bool is(GQuark domain, int code) const { return g_error_matches(error, domain, code) != FALSE; }
  [[nodiscard]] SecretStatusCode code() const;

  GError* error = nullptr;
};

SecretStatusCode Error::code() const {
  for (const int absent :
       {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER, G_DBUS_ERROR_SPAWN_EXEC_FAILED,
        G_DBUS_ERROR_SPAWN_FORK_FAILED, G_DBUS_ERROR_SPAWN_CHILD_EXITED, G_DBUS_ERROR_SPAWN_CHILD_SIGNALED,
        G_DBUS_ERROR_SPAWN_FAILED, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND, G_DBUS_ERROR_UNKNOWN_METHOD}) {
    if (is(g_dbus_error_quark(), absent)) return SecretStatusCode::missingEntitlement;
  }
  if (is(secret_error_get_quark(), SECRET_ERROR_IS_LOCKED)) return SecretStatusCode::interactionNotAllowed;
  if (is(g_dbus_error_quark(), G_DBUS_ERROR_ACCESS_DENIED) || is(g_dbus_error_quark(), G_DBUS_ERROR_AUTH_FAILED)) {
    return SecretStatusCode::accessDenied;
  }
  return SecretStatusCode::other;
}

SecretStatus Error::status() const {
  if (!error) return {SecretStatusCode::other, "The Secret Service gave no answer."};
  if (is(g_io_error_quark(), G_IO_ERROR_CANCELLED)) {
    return {SecretStatusCode::other, "The Secret Service did not answer in time."};
  }
  const SecretStatusCode found = code();
  g_dbus_error_strip_remote_error(error);
  return {found, std::string(error->message) + " (" + g_quark_to_string(error->domain) + " " +
                     std::to_string(error->code) + ")"};
}

// Cancels what is under way once the time is over. libsecret's own bound is 25 s for each of many calls.
class Deadline {
 public:
  explicit Deadline(Seconds timeout)
      : cancellable(g_cancellable_new()), thread([this, timeout] {
          std::unique_lock lock(mutex);
          if (!ended.wait_for(lock, timeout, [this] { return isOver; })) g_cancellable_cancel(cancellable.get());
        }) {}
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
  ~Deadline() {
    {
      const std::lock_guard lock(mutex);
      isOver = true;
    }
    ended.notify_one();
    thread.join();
  }
  [[nodiscard]] GCancellable* get() const { return cancellable.get(); }

 private:
  const Owned<GCancellable> cancellable;
  std::mutex mutex;
  std::condition_variable ended;
  bool isOver = false;
  std::thread thread;
};

// libsecret answers a service's request for a prompt by showing it. This kind of service object answers that it is
// locked.
GError* promptRefusal() { return g_error_new_literal(secret_error_get_quark(), SECRET_ERROR_IS_LOCKED, kWouldPrompt); }

GVariant* refusePromptSync(SecretService*, SecretPrompt*, GCancellable*, const GVariantType*, GError** error) {
  g_propagate_error(error, promptRefusal());
  return nullptr;
}

void refusePrompt(SecretService* self, SecretPrompt*, const GVariantType*, GCancellable*, GAsyncReadyCallback callback,
                  gpointer data) {
  g_task_report_error(self, callback, data, nullptr, promptRefusal());
}

GVariant* finishPrompt(SecretService*, GAsyncResult* result, GError** error) {
  return static_cast<GVariant*>(g_task_propagate_pointer(reinterpret_cast<GTask*>(result), error));
}

void initQuietClass(gpointer classObject, gpointer) {
  auto* const quiet = static_cast<SecretServiceClass*>(classObject);
  quiet->prompt_sync = refusePromptSync;
  quiet->prompt_async = refusePrompt;
  quiet->prompt_finish = finishPrompt;
}

GType quietServiceType() {
  static const GType kType =
      g_type_register_static_simple(secret_service_get_type(), "QuillardQuietSecretService", sizeof(SecretServiceClass),
                                    initQuietClass, sizeof(SecretService), nullptr, G_TYPE_FLAG_FINAL);
  return kType;
}

Attributes attributesOf(std::string_view service, std::string_view account) {
  Attributes attributes(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
  const auto put = [&](const char* name, std::string_view value) {
    g_hash_table_insert(attributes.get(), g_strdup(name), g_strndup(value.data(), value.size()));
  };
  put("xdg:schema", "com.quillard.agent");
  put("service", service);
  put("account", account);
  return attributes;
}

OwnedValue valueOf(const Secret& data) {
  const auto text = data.text();
  return OwnedValue(secret_value_new(text.data(), static_cast<gssize>(text.size()), kContentType));
}

Secret secretOf(SecretValue* value) {
  gsize size = 0;
  const gchar* const bytes = secret_value_get(value, &size);
  return Secret(std::string_view(bytes, size));
}

// Where GLib leaves news for this thread while a session lasts. Read at its end, since the bus connection is kept for
// as long as there is unread news of it.
class OwnContext {
 public:
  OwnContext() : context(g_main_context_new()) { g_main_context_push_thread_default(context); }
  OwnContext(const OwnContext&) = delete;
  OwnContext& operator=(const OwnContext&) = delete;
  ~OwnContext() {
    while (g_main_context_iteration(context, FALSE) != FALSE) {
    }
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
  }

 private:
  GMainContext* const context;
};

using Items = std::vector<Owned<SecretItem>>;

}  // namespace

struct SecretServiceSession::Parts {
  explicit Parts(Seconds timeout) : deadline(timeout) {}

  // The matching items, those that are unlocked before those that are not.
  std::variant<Items, SecretStatus> search(std::string_view service, std::string_view account) {
    Error error;
    GList* const list = secret_service_search_sync(secrets.get(), nullptr, attributesOf(service, account).get(),
                                                   SECRET_SEARCH_ALL, deadline.get(), error.out());
    if (error.isSet()) return error.status();
    Items unlocked;
    Items locked;
    for (GList* at = list; at; at = at->next) {
      Owned<SecretItem> item(static_cast<SecretItem*>(at->data));
      auto& kind = secret_item_get_locked(item.get()) ? locked : unlocked;
      kind.push_back(std::move(item));
    }
    g_list_free(list);
    for (auto& item : locked) unlocked.push_back(std::move(item));
    return unlocked;
  }

  // The keyring for new items, when it can take one.
  std::variant<Owned<SecretCollection>, SecretStatus> openCollection() {
    Error error;
    Owned<SecretCollection> collection(secret_collection_for_alias_sync(
        secrets.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, deadline.get(), error.out()));
    if (error.isSet()) return error.status();
    if (!collection) return kNoCollection;
    if (secret_collection_get_locked(collection.get())) return kLocked;
    return collection;
  }

  // What it means that no item was found: some services hide the items of a locked keyring.
  SecretStatus absence() {
    const auto collection = openCollection();
    const auto* status = std::get_if<SecretStatus>(&collection);
    return status ? *status : kNoSuchItem;
  }

  // The item to work on, or why there is none.
  std::variant<Owned<SecretItem>, SecretStatus> findUnlocked(std::string_view service, std::string_view account) {
    auto found = search(service, account);
    if (const auto* status = std::get_if<SecretStatus>(&found)) return *status;
    auto& items = std::get<Items>(found);
    if (items.empty()) return absence();
    if (secret_item_get_locked(items.front().get())) return kLocked;
    return std::move(items.front());
  }

  const OwnContext context;
  Deadline deadline;
  Owned<GDBusConnection> connection;
  Owned<SecretService> secrets;
};

SecretServiceSession::SecretServiceSession(std::unique_ptr<Parts> parts) : parts(std::move(parts)) {}

SecretServiceSession::~SecretServiceSession() = default;

SecretServiceSession::Opened SecretServiceSession::open(Seconds timeout) {
  auto parts = std::make_unique<Parts>(timeout);
  Error error;
  parts->connection.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, parts->deadline.get(), error.out()));
  if (!parts->connection) {
    return SecretStatus{SecretStatusCode::missingEntitlement, "There is no session bus: " + error.status().text};
  }
  if (g_dbus_connection_is_closed(parts->connection.get())) {
    return SecretStatus{SecretStatusCode::missingEntitlement, "The session bus has gone."};
  }
  // By default GLib ends the whole process together with its bus.
  g_dbus_connection_set_exit_on_close(parts->connection.get(), FALSE);
  parts->secrets.reset(secret_service_open_sync(quietServiceType(), kBusName, SECRET_SERVICE_OPEN_SESSION,
                                                parts->deadline.get(), error.out()));
  if (!parts->secrets) return error.status();
  return std::unique_ptr<SecretServiceSession>(new SecretServiceSession(std::move(parts)));
}

SecretReading SecretServiceSession::read(std::string_view service, std::string_view account) {
  const auto found = parts->findUnlocked(service, account);
  if (const auto* status = std::get_if<SecretStatus>(&found)) return {*status, {}};
  SecretItem* const item = std::get<Owned<SecretItem>>(found).get();
  Error error;
  if (!secret_item_load_secret_sync(item, parts->deadline.get(), error.out())) return {error.status(), {}};
  const OwnedValue value(secret_item_get_secret(item));
  if (!value) return {kLocked, {}};
  return {{}, secretOf(value.get())};
}

SecretStatus SecretServiceSession::add(std::string_view service, std::string_view account, const Secret& data) {
  const auto found = parts->search(service, account);
  if (const auto* status = std::get_if<SecretStatus>(&found)) return *status;
  if (!std::get<Items>(found).empty()) return kItemExists;
  const auto opened = parts->openCollection();
  if (const auto* status = std::get_if<SecretStatus>(&opened)) return *status;
  Error error;
  const std::string label = "Quillard: " + std::string(account);
  const Owned<SecretItem> item(secret_item_create_sync(
      std::get<Owned<SecretCollection>>(opened).get(), nullptr, attributesOf(service, account).get(), label.c_str(),
      valueOf(data).get(), SECRET_ITEM_CREATE_NONE, parts->deadline.get(), error.out()));
  return item ? SecretStatus{} : error.status();
}

SecretStatus SecretServiceSession::update(std::string_view service, std::string_view account, const Secret& data) {
  const auto found = parts->findUnlocked(service, account);
  if (const auto* status = std::get_if<SecretStatus>(&found)) return *status;
  Error error;
  const gboolean isDone = secret_item_set_secret_sync(std::get<Owned<SecretItem>>(found).get(), valueOf(data).get(),
                                                      parts->deadline.get(), error.out());
  return isDone ? SecretStatus{} : error.status();
}

SecretStatus SecretServiceSession::remove(std::string_view service, std::string_view account) {
  const auto found = parts->search(service, account);
  if (const auto* status = std::get_if<SecretStatus>(&found)) return *status;
  const auto& items = std::get<Items>(found);
  if (items.empty()) return parts->absence();
  for (const auto& item : items) {
    if (secret_item_get_locked(item.get())) return kLocked;
    Error error;
    if (!secret_item_delete_sync(item.get(), parts->deadline.get(), error.out())) return error.status();
  }
  return {};
}

}  // namespace quillard::xdg
