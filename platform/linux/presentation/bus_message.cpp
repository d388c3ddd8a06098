#include "platform/linux/presentation/bus_message.h"

namespace quorvane::platform::linux_ {
namespace {

// The names of the protocol, version 1.
enum class Kind : char { call = 1, signal = 4 };
enum class Field : char { path = 1, interface = 2, member = 3, destination = 6, signature = 8 };
constexpr char kLittleEndian = 'l';
constexpr char kNoReplyExpected = 1;
constexpr char kVersion = 1;

/// Lays values out; every kind of value begins at a multiple of its own size.
class Layout {
public:
    const Bytes& bytes() const { return bytes_; }

    void align(std::size_t size) { bytes_.resize((bytes_.size() + size - 1) / size * size, '\0'); }
    void byte(char value) { bytes_ += value; }
    void number(std::uint32_t value) {
        align(sizeof value);
        for (int shift = 0; shift < 32; shift += 8) byte(static_cast<char>(value >> shift));
    }
    void size(std::size_t value) { number(static_cast<std::uint32_t>(value)); }
    void text(std::string_view value) {
        size(value.size());
        append(value);
    }
    void signature(std::string_view value) {
        byte(static_cast<char>(value.size()));
        append(value);
    }
    void field(Field field, char type, std::string_view value) {
        align(8);
        byte(static_cast<char>(field));
        signature({&type, 1});
        if (type == 'g')
            signature(value);
        else
            text(value);
    }

private:
    void append(std::string_view value) {
        bytes_ += value;
        byte('\0');
    }

    Bytes bytes_;
};

Bytes message(Kind kind, const Layout& fields, const Bytes& body, std::uint32_t serial) {
    Layout layout;
    for (const char value : {kLittleEndian, static_cast<char>(kind), kNoReplyExpected, kVersion})
        layout.byte(value);
    layout.size(body.size());
    layout.number(serial);
    layout.size(fields.bytes().size());
    // The fields begin at a multiple of 8, so that they may be laid out by themselves.
    return layout.bytes() + fields.bytes() + Bytes((8 - fields.bytes().size() % 8) % 8, '\0') +
           body;
}

Bytes arguments(const BusSignal& signal) {
    Layout texts;
    for (const std::string& text : signal.texts) texts.text(text);
    if (!signal.isArray) return texts.bytes();
    Layout array;
    array.size(texts.bytes().size());
    return array.bytes() + texts.bytes();
}

} // namespace

Bytes busGreeting() {
    Layout fields;
    fields.field(Field::path, 'o', "/org/freedesktop/DBus");
    fields.field(Field::interface, 's', "org.freedesktop.DBus");
    fields.field(Field::member, 's', "Hello");
    fields.field(Field::destination, 's', "org.freedesktop.DBus");
    // The bus expects one NUL byte to come with the credentials.
    return Bytes(1, '\0') + "AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n" +
           message(Kind::call, fields, {}, 1);
}

Bytes busMessage(const BusSignal& signal, std::uint32_t serial) {
    Layout fields;
    fields.field(Field::path, 'o', signal.object);
    fields.field(Field::interface, 's', signal.interface);
    fields.field(Field::member, 's', signal.member);
    fields.field(Field::signature, 'g', signal.isArray ? "as" : "s");
    return message(Kind::signal, fields, arguments(signal), serial);
}

} // namespace quorvane::platform::linux_
