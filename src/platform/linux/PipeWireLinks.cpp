#include "platform/linux/PipeWireLinks.h"

#include <pipewire/pipewire.h>
#include <unistd.h>

#include <charconv>
#include <string_view>

// The library's calls are macros with statements in them.
#pragma clang diagnostic ignored "-Wgnu-statement-expression-from-macro-expansion"

namespace tavrin {

namespace {

std::string_view property(const spa_dict* properties, const char* key) {
    const char* found = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
    return found == nullptr ? std::string_view() : std::string_view(found);
}

std::optional<std::uint32_t> number(std::string_view text) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

/// The process that the server itself sees, and behind another server the one that the program names.
bool isOurs(const spa_dict* properties) {
    const auto own = static_cast<std::uint32_t>(getpid());
    const bool isRelayed = property(properties, PW_KEY_CLIENT_API) == "pipewire-pulse";
    return number(property(properties, PW_KEY_SEC_PID)) == own ||
           (isRelayed && number(property(properties, PW_KEY_APP_PROCESS_ID)) == own);
}

/// Which of our ports a channel goes into.
struct Sides {
    bool left, right;
};
Sides sidesOf(std::string_view channel) {
    if (channel.starts_with("LFE")) return {false, false};
    if (channel.ends_with('L') || channel == "FLC") return {true, false};
    if (channel.ends_with('R') || channel == "FRC") return {false, true};
    return {true, true};
}

} // namespace

/// An object of the server's that we hold, with what it told.
struct PipeWireLinks::Bound {
    Bound(PipeWireLinks& holder, void* object) : owner(holder), proxy(static_cast<pw_proxy*>(object)) {}
    ~Bound() {
        if (isListening) spa_hook_remove(&listener);
        if (proxy != nullptr) pw_proxy_destroy(proxy);
    }
    Bound(const Bound&) = delete;
    Bound& operator=(const Bound&) = delete;

    PipeWireLinks& owner;
    pw_proxy* proxy;
    spa_hook listener{};
    bool isListening = false;
    bool isKnown = false;
    std::optional<std::uint32_t> client; ///< of a stream
    bool isExcluded = false;             ///< a client that is us, a stream with a link group
};

struct PipeWireLinks::Callbacks {
    static void added(void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t version,
                      const spa_dict* properties) {
        auto& links = *static_cast<PipeWireLinks*>(self);
        const std::string_view kind = type;
        if (kind == PW_TYPE_INTERFACE_Client ||
            (kind == PW_TYPE_INTERFACE_Node && property(properties, PW_KEY_MEDIA_CLASS) == "Stream/Output/Audio"))
            return links.bind(id, type, version);
        if (kind != PW_TYPE_INTERFACE_Port) return;
        const auto node = number(property(properties, PW_KEY_NODE_ID));
        if (!node) return;
        links.ports[id] = {.node = *node,
                           .isOutput = property(properties, PW_KEY_PORT_DIRECTION) == "out",
                           .isMonitor = property(properties, PW_KEY_PORT_MONITOR) == "true",
                           .name = std::string(property(properties, PW_KEY_PORT_NAME)),
                           .channel = std::string(property(properties, PW_KEY_AUDIO_CHANNEL))};
        links.link();
    }

    static void removed(void* self, std::uint32_t id) { static_cast<PipeWireLinks*>(self)->remove(id); }

    static void streamInfo(void* self, const pw_node_info* info) {
        auto& stream = *static_cast<Bound*>(self);
        // Told of anything else, the properties are empty.
        if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) == 0) return;
        stream.client = number(property(info->props, PW_KEY_CLIENT_ID));
        stream.isExcluded = isOurs(info->props) || !property(info->props, PW_KEY_NODE_LINK_GROUP).empty();
        stream.isKnown = true;
        stream.owner.link();
    }

    static void clientInfo(void* self, const pw_client_info* info) {
        auto& client = *static_cast<Bound*>(self);
        if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) == 0) return;
        client.isExcluded = isOurs(info->props);
        // A relay connects for a program before it says for which.
        client.isKnown = property(info->props, PW_KEY_CONFIG_NAME) != "pipewire-pulse.conf" ||
                         !property(info->props, PW_KEY_CLIENT_API).empty();
        client.owner.link();
    }

    static constexpr pw_registry_events registryEvents{
        .version = PW_VERSION_REGISTRY_EVENTS, .global = added, .global_remove = removed};
    static constexpr pw_node_events nodeEvents{.version = PW_VERSION_NODE_EVENTS, .info = streamInfo, .param = nullptr};
    static constexpr pw_client_events clientEvents{
        .version = PW_VERSION_CLIENT_EVENTS, .info = clientInfo, .permissions = nullptr};
};

PipeWireLinks::PipeWireLinks(pw_core* connection)
    : core(connection), registry(std::make_unique<Bound>(*this, pw_core_get_registry(core, PW_VERSION_REGISTRY, 0))) {
    if (registry->proxy == nullptr) return;
    pw_registry_add_listener(reinterpret_cast<pw_registry*>(registry->proxy), &registry->listener,
                             &Callbacks::registryEvents, this);
    registry->isListening = true;
}

PipeWireLinks::~PipeWireLinks() = default;

void PipeWireLinks::setTarget(std::uint32_t node) {
    target = node;
    link();
}

void PipeWireLinks::bind(std::uint32_t id, const char* type, std::uint32_t version) {
    auto* list = reinterpret_cast<pw_registry*>(registry->proxy);
    auto bound = std::make_unique<Bound>(*this, pw_registry_bind(list, id, type, version, 0));
    if (bound->proxy == nullptr) return;
    bound->isListening = true;
    if (std::string_view(type) == PW_TYPE_INTERFACE_Client) {
        pw_client_add_listener(reinterpret_cast<pw_client*>(bound->proxy), &bound->listener, &Callbacks::clientEvents,
                               bound.get());
        clients[id] = std::move(bound);
    } else {
        pw_node_add_listener(reinterpret_cast<pw_node*>(bound->proxy), &bound->listener, &Callbacks::nodeEvents,
                             bound.get());
        streams[id] = std::move(bound);
    }
}

void PipeWireLinks::remove(std::uint32_t id) {
    links.erase(id);
    ports.erase(id);
    streams.erase(id);
    clients.erase(id);
}

void PipeWireLinks::link() {
    // A relayed program may say only later who it is.
    std::erase_if(links, [this](const auto& each) { return !isForeignStream(ports.at(each.first).node); });
    for (const auto& [id, port] : ports)
        if (port.isOutput && !port.isMonitor && !links.contains(id) && isForeignStream(port.node)) linkPort(id, port);
}

void PipeWireLinks::linkPort(std::uint32_t id, const Port& port) {
    const auto left = targetPort(leftPort), right = targetPort(rightPort);
    if (!left || !right) return;
    const Sides sides = sidesOf(port.channel);
    auto& made = links[id];
    for (const auto input : {sides.left ? left : std::nullopt, sides.right ? right : std::nullopt}) {
        if (!input) continue;
        // A passive link does not keep a stream or its speaker awake for our sake.
        pw_properties* properties = pw_properties_new(PW_KEY_LINK_PASSIVE, "true", nullptr);
        pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", port.node);
        pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", id);
        pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", *target);
        pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", *input);
        made.push_back(
            std::make_unique<Bound>(*this, pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link,
                                                                 PW_VERSION_LINK, &properties->dict, 0)));
        pw_properties_free(properties);
    }
}

/// Only once all is known of it: our own sound must not slip in for a moment.
bool PipeWireLinks::isForeignStream(std::uint32_t node) const {
    const auto stream = streams.find(node);
    if (stream == streams.end() || !stream->second->isKnown || stream->second->isExcluded) return false;
    if (!stream->second->client) return false;
    const auto client = clients.find(*stream->second->client);
    return client != clients.end() && client->second->isKnown && !client->second->isExcluded;
}

std::optional<std::uint32_t> PipeWireLinks::targetPort(const char* name) const {
    for (const auto& [id, port] : ports)
        if (target == port.node && !port.isOutput && port.name == name) return id;
    return std::nullopt;
}

} // namespace tavrin
