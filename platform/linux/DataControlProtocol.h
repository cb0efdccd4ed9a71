#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <wayland-client.h>

/// The messages by which a Wayland compositor lets a program without a window see, read and replace
/// the clipboard.
///
/// Two protocols have these messages under two names, and one began as the other. A name counts
/// only when the manager is asked for, so that one set of tables is enough.
namespace DataControl {

extern const wl_interface manager;
extern const wl_interface device;
extern const wl_interface source;
extern const wl_interface offer;

/// The managers that the tables are for, the better one first.
inline constexpr std::array managerNames{"ext_data_control_manager_v1",
                                         "zwlr_data_control_manager_v1"};
/// In the older protocol's next version every selected word is told of, which nobody here wants.
inline constexpr std::uint32_t version = 1;

namespace Request {
inline constexpr std::uint32_t createSource = 0; // to the manager
inline constexpr std::uint32_t getDevice = 1;
inline constexpr std::uint32_t setSelection = 0; // to the device
inline constexpr std::uint32_t offerType = 0; // to a source
inline constexpr std::uint32_t receive = 0; // to an offer
inline constexpr std::uint32_t destroy = 1; // to all but the manager
} // namespace Request

/// Events, in the order of their numbers. The first argument is what was given with the listener.
struct DeviceListener {
    void (*dataOffer)(void*, wl_proxy*, wl_proxy* offer);
    void (*selection)(void*, wl_proxy*, wl_proxy* offer);
    void (*finished)(void*, wl_proxy*);
    void (*primarySelection)(void*, wl_proxy*, wl_proxy* offer);
};
struct SourceListener {
    void (*send)(void*, wl_proxy*, const char* type, std::int32_t target);
    void (*cancelled)(void*, wl_proxy*);
};
struct OfferListener {
    void (*offer)(void*, wl_proxy*, const char* type);
};

template<typename Listener> void listen(wl_proxy* proxy, const Listener& listener, void* data)
{
    // The library takes any listener for a row of functions.
    auto* functions = reinterpret_cast<void (**)()>(const_cast<Listener*>(&listener));
    wl_proxy_add_listener(proxy, functions, data);
}

template<typename... Arguments>
void request(wl_proxy* proxy, std::uint32_t number, Arguments... arguments)
{
    wl_proxy_marshal_flags(proxy, number, nullptr, version, 0, arguments...);
}

template<typename... Arguments>
wl_proxy* requestNew(wl_proxy* proxy, std::uint32_t number, const wl_interface& interface,
                     Arguments... arguments)
{
    return wl_proxy_marshal_flags(proxy, number, &interface, version, 0, nullptr, arguments...);
}

/// Ends a device, a source or an offer on both sides.
struct Ended {
    void operator()(wl_proxy* proxy) const
    {
        wl_proxy_marshal_flags(proxy, Request::destroy, nullptr, version, WL_MARSHAL_FLAG_DESTROY);
    }
};
using Object = std::unique_ptr<wl_proxy, Ended>;

/// Forgets an object on our side.
struct Forgotten {
    void operator()(wl_proxy* proxy) const { wl_proxy_destroy(proxy); }
};
using Global = std::unique_ptr<wl_proxy, Forgotten>;

} // namespace DataControl
