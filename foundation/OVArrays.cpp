#include "foundation/OVArrays.h"

namespace OVExtensions {

QVariantList objectsOfKindOfClass(const QVariantList &array, QMetaType type)
{
    const QMetaObject *kind = type.metaObject();
    const bool objectKind = kind && (type.flags() & QMetaType::PointerToQObject);
    QVariantList result;
    for (const QVariant &element : array) {
        bool matches = element.metaType() == type;
        if (!matches && objectKind && (element.metaType().flags() & QMetaType::PointerToQObject)) {
            const QObject *object = element.value<QObject *>();
            matches = object && object->metaObject()->inherits(kind);
        }
        if (matches)
            result.append(element);
    }
    return result;
}

} // namespace OVExtensions
