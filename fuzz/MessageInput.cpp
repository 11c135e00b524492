#include "MessageInput.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QStringList>
#include <algorithm>
#include <gio/gio.h>
#include <string>

namespace vantrel {

namespace {

struct VariantUnref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

QString textOf(GVariant* value) { return QString::fromUtf8(g_variant_get_string(value, nullptr)); }

// Qt warns of the empty one, which there can be.
QDBusSignature signatureOf(const QString& text) { return text.isEmpty() ? QDBusSignature() : QDBusSignature(text); }

QVariant valueOf(GVariant* value);

QVariantList membersOf(GVariant* container) {
    constexpr std::size_t most = 64; // enough for any signature, and quick for a million empty members
    QVariantList members;
    for (std::size_t index = 0; index < std::min(most, g_variant_n_children(container)); ++index) {
        const Variant member(g_variant_get_child_value(container, index));
        members.append(valueOf(member.get()));
    }
    return members;
}

QVariant containerOf(GVariant* value) {
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) {
        return QByteArray(static_cast<const char*>(g_variant_get_data(value)),
                          static_cast<qsizetype>(g_variant_get_size(value)));
    }
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING_ARRAY)) {
        QStringList texts;
        for (const QVariant& text : membersOf(value)) {
            texts.append(text.toString());
        }
        return texts;
    }
    if (g_variant_is_of_type(value, G_VARIANT_TYPE("av"))) {
        return membersOf(value);
    }
    return QVariant::fromValue(QDBusArgument()); // everything else stays unread
}

QVariant valueOf(GVariant* value) {
    switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_BOOLEAN:
        return g_variant_get_boolean(value) != FALSE;
    case G_VARIANT_CLASS_BYTE:
        return QVariant::fromValue(g_variant_get_byte(value));
    case G_VARIANT_CLASS_INT16:
        return QVariant::fromValue(g_variant_get_int16(value));
    case G_VARIANT_CLASS_UINT16:
        return QVariant::fromValue(g_variant_get_uint16(value));
    case G_VARIANT_CLASS_INT32:
        return g_variant_get_int32(value);
    case G_VARIANT_CLASS_UINT32:
        return g_variant_get_uint32(value);
    case G_VARIANT_CLASS_INT64:
        return static_cast<qlonglong>(g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64:
        return static_cast<qulonglong>(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_DOUBLE:
        return g_variant_get_double(value);
    case G_VARIANT_CLASS_STRING:
        return textOf(value);
    case G_VARIANT_CLASS_OBJECT_PATH:
        return QVariant::fromValue(QDBusObjectPath(textOf(value)));
    case G_VARIANT_CLASS_SIGNATURE:
        return QVariant::fromValue(signatureOf(textOf(value)));
    case G_VARIANT_CLASS_HANDLE:
        return QVariant::fromValue(QDBusUnixFileDescriptor());
    case G_VARIANT_CLASS_VARIANT: {
        const Variant inner(g_variant_get_variant(value));
        return QVariant::fromValue(QDBusVariant(valueOf(inner.get())));
    }
    case G_VARIANT_CLASS_MAYBE: // not on the bus
        return {};
    case G_VARIANT_CLASS_ARRAY:
    case G_VARIANT_CLASS_TUPLE:
    case G_VARIANT_CLASS_DICT_ENTRY:
        return containerOf(value);
    }
    return {};
}

} // namespace

std::optional<QVariantList> messageArguments(std::span<const std::uint8_t> bytes) {
    if (bytes.empty() || bytes.size() - 1 < bytes[0]) {
        return std::nullopt;
    }
    const std::string type(bytes.begin() + 1, bytes.begin() + 1 + bytes[0]);
    if (g_variant_type_string_is_valid(type.c_str()) == FALSE ||
        g_variant_type_is_definite(G_VARIANT_TYPE(type.c_str())) == FALSE) {
        return std::nullopt;
    }
    const auto rest = bytes.subspan(1U + bytes[0]);
    GBytes* const content = g_bytes_new(rest.data(), rest.size());
    constexpr gboolean trusted = FALSE;
    const Variant value(g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type.c_str()), content, trusted)));
    g_bytes_unref(content);
    return g_variant_classify(value.get()) == G_VARIANT_CLASS_TUPLE ? membersOf(value.get())
                                                                    : QVariantList{valueOf(value.get())};
}

} // namespace vantrel
