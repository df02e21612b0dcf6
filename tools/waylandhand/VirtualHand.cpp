#include "waylandhand/VirtualHand.h"

#include "virtual-keyboard.h"
#include "virtual-pointer.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>

namespace rewindle::support {
namespace {

constexpr std::uint32_t kEvdevOffset = 8; // between a key's number there and in a keymap
constexpr int kWheelStep = 15;

std::uint32_t now() {
    using namespace std::chrono;
    return static_cast<std::uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

template <auto destroy>
struct Release {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
    }
};
template <class T, auto destroy>
using Handle = std::unique_ptr<T, Release<destroy>>;

/// Where a symbol is on the keyboard, and whether it takes Shift.
struct Key {
    xkb_keycode_t code = 0;
    bool isShifted = false;
};

class Keyboard {
public:
    [[nodiscard]] std::string text() const {
        const Handle<char, std::free> whole(xkb_keymap_get_as_string(keymap_.get(), XKB_KEYMAP_FORMAT_TEXT_V1));
        return whole.get();
    }
    [[nodiscard]] Key find(const std::string& name) const {
        static const std::map<std::string, const char*> aliases{
            {"ctrl", "Control_L"}, {"shift", "Shift_L"}, {"alt", "Alt_L"}};
        const auto alias = aliases.find(name);
        const auto symbol =
            xkb_keysym_from_name(alias == aliases.end() ? name.c_str() : alias->second, XKB_KEYSYM_CASE_INSENSITIVE);
        for (xkb_level_index_t level = 0; level < 2; ++level) {
            for (auto code = xkb_keymap_min_keycode(keymap_.get()); code <= xkb_keymap_max_keycode(keymap_.get());
                 ++code) {
                const xkb_keysym_t* symbols = nullptr;
                if (xkb_keymap_key_get_syms_by_level(keymap_.get(), code, 0, level, &symbols) == 1 &&
                    *symbols == symbol)
                    return {code, level == 1};
            }
        }
        throw std::runtime_error("there is no key " + name);
    }
    xkb_state* state() { return state_.get(); }

private:
    Handle<xkb_context, xkb_context_unref> context_{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
    Handle<xkb_keymap, xkb_keymap_unref> keymap_{
        xkb_keymap_new_from_names(context_.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS)};
    Handle<xkb_state, xkb_state_unref> state_{xkb_state_new(keymap_.get())};
};

bool isVerb(const std::string& word) {
    static const std::set<std::string> verbs{"mousemove", "mousedown", "mouseup", "click", "keydown", "keyup", "key"};
    return verbs.contains(word);
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

} // namespace

struct VirtualHand::Devices {
    std::uint32_t width = 0, height = 0; // of the screen
    Keyboard keys;
    Handle<wl_display, wl_display_disconnect> display{wl_display_connect(nullptr)};
    wl_seat* seat = nullptr;
    zwlr_virtual_pointer_manager_v1* pointers = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
    zwlr_virtual_pointer_v1* pointer = nullptr;
    zwp_virtual_keyboard_v1* keyboard = nullptr;

    void add(wl_registry* registry, std::uint32_t name, const std::string& interface) {
        const auto bind = [&]<class T>(T*& object, const wl_interface& type) {
            if (interface == type.name) object = static_cast<T*>(wl_registry_bind(registry, name, &type, 1));
        };
        bind(seat, wl_seat_interface);
        bind(pointers, zwlr_virtual_pointer_manager_v1_interface);
        bind(keyboards, zwp_virtual_keyboard_manager_v1_interface);
    }
    void roundTrip() const {
        if (wl_display_roundtrip(display.get()) < 0) throw std::runtime_error("the compositor is gone");
    }
    void sendKeymap() const {
        const auto text = keys.text();
        const int file = memfd_create("keymap", MFD_CLOEXEC);
        const auto size = text.size() + 1;
        if (file < 0 || write(file, text.c_str(), size) != static_cast<ssize_t>(size))
            throw std::runtime_error("no memory for a keymap");
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                       static_cast<std::uint32_t>(size));
        close(file);
    }

    void key(xkb_keycode_t code, bool down) {
        zwp_virtual_keyboard_v1_key(keyboard, now(), code - kEvdevOffset, down);
        xkb_state_update_key(keys.state(), code, down ? XKB_KEY_DOWN : XKB_KEY_UP);
        zwp_virtual_keyboard_v1_modifiers(keyboard, xkb_state_serialize_mods(keys.state(), XKB_STATE_MODS_DEPRESSED),
                                          0, 0, 0);
    }
    /// "ctrl+plus": all of them down, or up in the reverse order.
    void chord(const std::string& names, bool down) {
        std::vector<xkb_keycode_t> codes;
        for (const auto& name : split(names, '+')) {
            const auto found = keys.find(name);
            if (found.isShifted) codes.push_back(keys.find("shift").code);
            codes.push_back(found.code);
        }
        if (!down) std::ranges::reverse(codes);
        for (const auto code : codes)
            key(code, down);
    }
    void move(std::uint32_t x, std::uint32_t y) const {
        zwlr_virtual_pointer_v1_motion_absolute(pointer, now(), x, y, width, height);
        zwlr_virtual_pointer_v1_frame(pointer);
    }
    void button(int number, bool down) const {
        if (number == 4 || number == 5) {
            if (down)
                zwlr_virtual_pointer_v1_axis(pointer, now(), WL_POINTER_AXIS_VERTICAL_SCROLL,
                                             wl_fixed_from_int(number == 4 ? -kWheelStep : kWheelStep));
        } else {
            static constexpr std::uint32_t codes[] = {BTN_LEFT, BTN_MIDDLE, BTN_RIGHT};
            zwlr_virtual_pointer_v1_button(pointer, now(), codes[std::clamp(number, 1, 3) - 1], down);
        }
        zwlr_virtual_pointer_v1_frame(pointer);
    }
};

VirtualHand::VirtualHand(std::uint32_t screenWidth, std::uint32_t screenHeight)
    : devices_(std::make_unique<Devices>()) {
    auto& devices = *devices_;
    devices.width = screenWidth;
    devices.height = screenHeight;
    if (!devices.display) throw std::runtime_error("there is no Wayland desktop");
    static const wl_registry_listener listener{
        [](void* self, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
            static_cast<Devices*>(self)->add(registry, name, interface);
        },
        [](void*, wl_registry*, std::uint32_t) {}};
    wl_registry_add_listener(wl_display_get_registry(devices.display.get()), &listener, &devices);
    devices.roundTrip();
    if (!devices.seat || !devices.pointers || !devices.keyboards)
        throw std::runtime_error("this compositor has no virtual devices");
    devices.pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(devices.pointers, devices.seat);
    devices.keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(devices.keyboards, devices.seat);
    devices.sendKeymap();
    devices.roundTrip();
}

VirtualHand::~VirtualHand() = default;

void VirtualHand::act(const std::vector<std::string>& words) {
    for (auto word = words.begin(); word != words.end(); ++word) {
        const auto argument = [&] {
            if (std::next(word) == words.end()) throw std::runtime_error("what comes after " + *word + "?");
            return *++word;
        };
        const auto number = [&] { return std::stoi(argument()); };
        const auto verb = *word;
        if (verb == "mousemove") {
            const auto x = number();
            devices_->move(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(number()));
        } else if (verb == "mousedown" || verb == "mouseup") {
            devices_->button(number(), verb == "mousedown");
        } else if (verb == "click") {
            const auto button = number();
            devices_->button(button, true);
            devices_->button(button, false);
        } else if (verb == "keydown" || verb == "keyup") {
            devices_->chord(argument(), verb == "keydown");
        } else if (verb == "key") {
            do {
                const auto keys = argument();
                devices_->chord(keys, true);
                devices_->chord(keys, false);
            } while (std::next(word) != words.end() && !isVerb(*std::next(word)));
        } else {
            throw std::runtime_error("a hand knows nothing of " + verb);
        }
        devices_->roundTrip();
    }
}

int VirtualHand::descriptor() const {
    return wl_display_get_fd(devices_->display.get());
}

void VirtualHand::dispatch() {
    if (wl_display_dispatch(devices_->display.get()) < 0) throw std::runtime_error("the compositor is gone");
}

} // namespace rewindle::support
