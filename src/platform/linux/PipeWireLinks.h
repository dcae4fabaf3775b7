#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_core;
struct pw_registry;

namespace tavrin {

/// Links every stream that is played, by whatever program but our own, into two input ports of ours, as streams come
/// and go. Mono goes into both ports, surround into the nearer one.
///
/// What belongs to a device or an effect (it carries a link group) is no stream of its own: its sound would come twice.
/// Thread: the loop of the core. Life: the core outlives it; the links end with it.
class PipeWireLinks final {
public:
    explicit PipeWireLinks(pw_core* core);
    PipeWireLinks(const PipeWireLinks&) = delete;
    PipeWireLinks& operator=(const PipeWireLinks&) = delete;
    ~PipeWireLinks();

    /// The node whose ports named `leftPort` and `rightPort` take the sound.
    void setTarget(std::uint32_t node);

    static constexpr const char *leftPort = "left", *rightPort = "right";

private:
    struct Callbacks;
    struct Bound;
    struct Port {
        std::uint32_t node = 0;
        bool isOutput = false, isMonitor = false;
        std::string name, channel;
    };

    void bind(std::uint32_t id, const char* type, std::uint32_t version);
    void remove(std::uint32_t id);
    void link();
    void linkPort(std::uint32_t id, const Port& port);
    [[nodiscard]] bool isForeignStream(std::uint32_t node) const;
    [[nodiscard]] std::optional<std::uint32_t> targetPort(const char* name) const;

    pw_core* core;
    std::unique_ptr<Bound> registry;
    std::map<std::uint32_t, std::unique_ptr<Bound>> streams, clients;
    std::map<std::uint32_t, Port> ports;
    std::map<std::uint32_t, std::vector<std::unique_ptr<Bound>>> links; ///< by the port that they come from
    std::optional<std::uint32_t> target;
};

} // namespace tavrin
