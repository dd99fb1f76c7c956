#include "atspi_accessibility.h"

#include <atspi/atspi-constants.h>

#include <atomic>
#include <memory>
#include <utility>

namespace brisel::gtk {

namespace {

constexpr const char* accessibleInterface = "org.a11y.atspi.Accessible";
constexpr const char* rootPath = "/org/a11y/atspi/accessible/root";
constexpr int32_t failure = -25200;  // AXError's generic failure

// Calls to the local daemons (the session bus, the accessibility bus, its registry); the first
// one may wait for the accessibility bus to be started.
constexpr gint daemonTimeoutMs = 3000;
// Each call of the search for an application's element: the registry lists what it has and the
// bus tells who owns a connection, without asking any application. The search runs within
// the capture's own time limit, so no call may take a large part of it.
constexpr gint applicationLookupTimeoutMs = 250;
// What an element's calls may take until core caps them.
constexpr gint defaultElementTimeoutMs = 6000;

using Variant = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;
using Connection = std::unique_ptr<GDBusConnection, decltype(&g_object_unref)>;

// An object on the accessibility bus. Elements read through one another share one time-out,
// so the cap core sets on an application holds for everything found under it.
struct RemoteElement {
    RemoteElement(GDBusConnection* connection, std::string busName, std::string objectPath,
                  std::shared_ptr<std::atomic<gint>> timeout)
        : bus(G_DBUS_CONNECTION(g_object_ref(connection))),
          name(std::move(busName)),
          path(std::move(objectPath)),
          timeoutMs(std::move(timeout)) {}
    ~RemoteElement() { g_object_unref(bus); }
    RemoteElement(const RemoteElement&) = delete;
    RemoteElement& operator=(const RemoteElement&) = delete;

    GDBusConnection* bus;
    std::string name;
    std::string path;
    std::shared_ptr<std::atomic<gint>> timeoutMs;
};

const RemoteElement* remote(const AccessibilityElement& element) {
    return static_cast<const RemoteElement*>(element.get());
}

AccessibilityElement wrap(GDBusConnection* bus, std::string name, std::string path,
                          std::shared_ptr<std::atomic<gint>> timeout) {
    return AccessibilityElement(std::make_shared<const RemoteElement>(bus, std::move(name), std::move(path),
                                                                      std::move(timeout)));
}

// A method call's reply of `replyType`; null on any error, with `timedOut` telling a call that
// got no answer in time from one that failed. The registry is started by the bus when first
// called, as any AT-SPI client expects.
Variant call(GDBusConnection* bus, const char* name, const char* path, const char* interface, const char* method,
             GVariant* arguments, const char* replyType, gint timeoutMs, bool* timedOut = nullptr) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(bus, name, path, interface, method, arguments,
                                                  G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE,
                                                  timeoutMs, nullptr, &error);
    if (error) {
        if (timedOut) *timedOut = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT);
        g_error_free(error);
    }
    return Variant(reply, g_variant_unref);
}

Variant call(const RemoteElement& element, const char* interface, const char* method, GVariant* arguments,
             const char* replyType, bool* timedOut = nullptr) {
    return call(element.bus, element.name.c_str(), element.path.c_str(), interface, method, arguments, replyType,
                element.timeoutMs->load(), timedOut);
}

std::optional<std::string> stringProperty(const RemoteElement& element, const char* property) {
    const Variant reply = call(element, "org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", accessibleInterface, property), "(v)");
    if (!reply) return std::nullopt;
    GVariant* value = nullptr;
    g_variant_get(reply.get(), "(v)", &value);
    const Variant owned(value, g_variant_unref);
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) return std::nullopt;
    return std::string(g_variant_get_string(value, nullptr));
}

std::optional<uint64_t> states(const RemoteElement& element) {
    const Variant reply = call(element, accessibleInterface, "GetState", nullptr, "(au)");
    if (!reply) return std::nullopt;
    GVariantIter* words = nullptr;
    g_variant_get(reply.get(), "(au)", &words);
    uint64_t bits = 0;
    guint32 word = 0;
    for (int shift = 0; shift < 64 && g_variant_iter_next(words, "u", &word); shift += 32) {
        bits |= uint64_t(word) << shift;
    }
    g_variant_iter_free(words);
    return bits;
}

bool hasState(uint64_t bits, AtspiStateType state) {
    return (bits >> state) & 1;
}

// Object references, "(so)", of an array reply.
std::vector<AccessibilityElement> references(const RemoteElement& parent, GVariant* reply) {
    GVariantIter* iterator = nullptr;
    g_variant_get(reply, "(a(so))", &iterator);
    std::vector<AccessibilityElement> elements;
    const gchar* name = nullptr;
    const gchar* path = nullptr;
    while (g_variant_iter_next(iterator, "(&s&o)", &name, &path)) {
        elements.push_back(wrap(parent.bus, name, path, parent.timeoutMs));
    }
    g_variant_iter_free(iterator);
    return elements;
}

std::optional<std::vector<AccessibilityElement>> children(const RemoteElement& element) {
    const Variant reply = call(element, accessibleInterface, "GetChildren", nullptr, "(a(so))");
    if (!reply) return std::nullopt;
    return references(element, reply.get());
}

std::optional<AccessibilityElement> focusedWindow(const RemoteElement& application) {
    const auto windows = children(application);
    if (!windows) return std::nullopt;
    for (const AccessibilityElement& window : *windows) {
        const auto bits = states(*remote(window));
        if (bits && hasState(*bits, ATSPI_STATE_ACTIVE)) return window;
    }
    return std::nullopt;
}

// One call to the window's Collection interface instead of a walk of its tree.
std::optional<AccessibilityElement> firstMenuBar(const RemoteElement& window) {
    guint32 roles[2] = {};
    roles[ATSPI_ROLE_MENU_BAR / 32] |= 1u << (ATSPI_ROLE_MENU_BAR % 32);
    GVariant* rule = g_variant_new_parsed("(@ai [], %i, @a{ss} {}, %i, [%i, %i], %i, @as [], %i, false)",
                                          ATSPI_Collection_MATCH_ALL, ATSPI_Collection_MATCH_ALL, roles[0], roles[1],
                                          ATSPI_Collection_MATCH_ANY, ATSPI_Collection_MATCH_ALL);
    const Variant reply = call(window, "org.a11y.atspi.Collection", "GetMatches",
                               g_variant_new("(@(aiia{ss}iaiiasib)uib)", rule, ATSPI_Collection_SORT_ORDER_CANONICAL,
                                             1, TRUE),
                               "(a(so))");
    if (!reply) return std::nullopt;
    auto found = references(window, reply.get());
    if (found.empty()) return std::nullopt;
    return std::move(found.front());
}

const char* axRole(guint32 role) {
    switch (role) {
    case ATSPI_ROLE_APPLICATION: return "AXApplication";
    case ATSPI_ROLE_FRAME:
    case ATSPI_ROLE_WINDOW:
    case ATSPI_ROLE_DIALOG: return "AXWindow";
    case ATSPI_ROLE_MENU_BAR: return "AXMenuBar";
    case ATSPI_ROLE_MENU: return "AXMenu";
    case ATSPI_ROLE_MENU_ITEM:
    case ATSPI_ROLE_CHECK_MENU_ITEM:
    case ATSPI_ROLE_RADIO_MENU_ITEM: return "AXMenuItem";
    case ATSPI_ROLE_PUSH_BUTTON: return "AXButton";
    default: return "AXUnknown";
    }
}

// The address of the accessibility bus: set for us, or handed out by its launcher on the
// session bus (which starts it when needed).
std::optional<std::string> accessibilityBusAddress() {
    if (const char* address = g_getenv("AT_SPI_BUS_ADDRESS")) return std::string(address);
    gchar* sessionAddress = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!sessionAddress) return std::nullopt;
    // A private connection: the shared session connection would end this process if the
    // session bus went away.
    const Connection session(
        g_dbus_connection_new_for_address_sync(sessionAddress,
                                               static_cast<GDBusConnectionFlags>(
                                                   G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                   G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                                               nullptr, nullptr, nullptr),
        g_object_unref);
    g_free(sessionAddress);
    if (!session) return std::nullopt;
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(session.get(), "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus",
                                                  "GetAddress", nullptr, G_VARIANT_TYPE("(s)"),
                                                  G_DBUS_CALL_FLAGS_NONE, daemonTimeoutMs, nullptr, &error);
    g_dbus_connection_close_sync(session.get(), nullptr, nullptr);
    if (!reply) {
        g_error_free(error);
        return std::nullopt;
    }
    const Variant owned(reply, g_variant_unref);
    const gchar* address = nullptr;
    g_variant_get(reply, "(&s)", &address);
    return std::string(address);
}

}  // namespace

AtspiAccessibility::~AtspiAccessibility() {
    if (bus_) g_object_unref(bus_);
}

GDBusConnection* AtspiAccessibility::connection() {
    std::lock_guard lock(mutex_);
    if (bus_ && !g_dbus_connection_is_closed(bus_)) return G_DBUS_CONNECTION(g_object_ref(bus_));
    g_clear_object(&bus_);
    registryAnswered_ = false;
    const auto address = accessibilityBusAddress();
    if (!address) return nullptr;
    bus_ = g_dbus_connection_new_for_address_sync(
        address->c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    return bus_ ? G_DBUS_CONNECTION(g_object_ref(bus_)) : nullptr;
}

bool AtspiAccessibility::isProcessTrusted(bool) {
    const Connection bus(connection(), g_object_unref);
    if (!bus) return false;
    {
        std::lock_guard lock(mutex_);
        if (registryAnswered_ && bus_ == bus.get()) return true;
    }
    const bool answered = call(bus.get(), "org.a11y.atspi.Registry", rootPath, "org.freedesktop.DBus.Properties",
                               "Get", g_variant_new("(ss)", accessibleInterface, "ChildCount"), "(v)",
                               daemonTimeoutMs) != nullptr;
    std::lock_guard lock(mutex_);
    if (bus_ == bus.get()) registryAnswered_ = answered;
    return answered;
}

AccessibilityElement AtspiAccessibility::applicationElement(int32_t processID) {
    const Connection bus(connection(), g_object_unref);
    if (!bus) return {};
    // The registry's children are the applications, one per bus connection.
    const Variant applications = call(bus.get(), "org.a11y.atspi.Registry", rootPath, accessibleInterface,
                                      "GetChildren", nullptr, "(a(so))", applicationLookupTimeoutMs);
    if (!applications) return {};
    GVariantIter* iterator = nullptr;
    g_variant_get(applications.get(), "(a(so))", &iterator);
    const gchar* name = nullptr;
    const gchar* path = nullptr;
    AccessibilityElement found;
    while (!found && g_variant_iter_next(iterator, "(&s&o)", &name, &path)) {
        const Variant owner = call(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "GetConnectionUnixProcessID", g_variant_new("(s)", name), "(u)",
                                   applicationLookupTimeoutMs);
        guint32 ownerID = 0;
        if (owner) g_variant_get(owner.get(), "(u)", &ownerID);
        // An application's own root object is its application element, whatever object the
        // registry lists for it.
        if (owner && static_cast<int32_t>(ownerID) == processID) {
            found = wrap(bus.get(), name, rootPath, std::make_shared<std::atomic<gint>>(defaultElementTimeoutMs));
        }
    }
    g_variant_iter_free(iterator);
    return found;
}

void AtspiAccessibility::setMessagingTimeout(const AccessibilityElement& element, Duration timeout) {
    if (const RemoteElement* target = remote(element)) target->timeoutMs->store(static_cast<gint>(timeout.count()));
}

std::optional<std::string> AtspiAccessibility::stringAttribute(const AccessibilityElement& element,
                                                               const std::string& name) {
    const RemoteElement* target = remote(element);
    if (!target) return std::nullopt;
    if (name == "AXTitle") return stringProperty(*target, "Name");
    if (name == "AXDescription") return stringProperty(*target, "Description");
    if (name != "AXRole") return std::nullopt;
    const Variant reply = call(*target, accessibleInterface, "GetRole", nullptr, "(u)");
    if (!reply) return std::nullopt;
    guint32 role = 0;
    g_variant_get(reply.get(), "(u)", &role);
    return axRole(role);
}

std::optional<AccessibilityElement> AtspiAccessibility::elementAttribute(const AccessibilityElement& element,
                                                                         const std::string& name) {
    const RemoteElement* target = remote(element);
    if (!target) return std::nullopt;
    if (name == "AXFocusedWindow") return focusedWindow(*target);
    if (name != "AXMenuBar") return std::nullopt;
    const auto window = focusedWindow(*target);
    if (!window) return std::nullopt;
    return firstMenuBar(*remote(*window));
}

std::optional<std::vector<AccessibilityElement>> AtspiAccessibility::elementsAttribute(
    const AccessibilityElement& element, const std::string& name) {
    const RemoteElement* target = remote(element);
    if (!target || name != "AXChildren") return std::nullopt;
    return children(*target);
}

std::optional<double> AtspiAccessibility::numberAttribute(const AccessibilityElement& element,
                                                          const std::string& name) {
    const RemoteElement* target = remote(element);
    if (!target || name != "AXEnabled") return std::nullopt;
    const auto bits = states(*target);
    if (!bits) return std::nullopt;
    return hasState(*bits, ATSPI_STATE_ENABLED) ? 1.0 : 0.0;
}

int32_t AtspiAccessibility::performAction(const AccessibilityElement& element, const std::string& action) {
    const RemoteElement* target = remote(element);
    if (!target || action != "AXPress") return failure;
    bool timedOut = false;
    const Variant reply = call(*target, "org.a11y.atspi.Action", "DoAction", g_variant_new("(i)", 0), "(b)", &timedOut);
    if (!reply) return timedOut ? accessibility_error::cannotComplete : failure;
    gboolean done = FALSE;
    g_variant_get(reply.get(), "(b)", &done);
    return done ? accessibility_error::success : failure;
}

}  // namespace brisel::gtk
