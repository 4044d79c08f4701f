// Filtering and de-duplicating lists. Every function leaves its input alone and answers a
// new list in the input's order.
#pragma once

#include <QList>
#include <QMetaType>
#include <QObject>
#include <QVariantList>
#include <memory>

namespace OVExtensions {

// The list without every element equal to any element of `objects` (all occurrences go).
template<class T> QList<T> arrayByRemovingObjectsFromArray(const QList<T> &array, const QList<T> &objects)
{
    QList<T> copy;
    copy.reserve(array.size());
    copy.append(array);
    for (const T &object : objects)
        copy.removeAll(object);
    return copy;
}

// The first occurrence of each distinct value, in order. Quadratic, as it compares by
// equality alone; the lists it serves are short. Any comparable type works, not only strings.
template<class T> QList<T> arrayOfUniqueStrings(const QList<T> &array)
{
    QList<T> unique;
    unique.reserve(array.size());
    for (const T &element : array) {
        if (!unique.contains(element))
            unique.append(element);
    }
    return unique;
}

namespace detail {
template<class Kind, class T> bool isKindOf(const T *object)
{
    return dynamic_cast<const Kind *>(object) != nullptr;
}
template<class Kind, class T> bool isKindOf(const std::shared_ptr<T> &object)
{
    return dynamic_cast<const Kind *>(object.get()) != nullptr;
}
} // namespace detail

// The elements (pointers or shared pointers) that are instances of Kind or of a subclass.
template<class Kind, class T> QList<T> objectsOfKindOfClass(const QList<T> &array)
{
    QList<T> result;
    for (const T &element : array) {
        if (detail::isKindOf<Kind>(element))
            result.append(element);
    }
    return result;
}

// The variants that hold a value of `type`; for QObject pointers, also objects of a subclass.
QVariantList objectsOfKindOfClass(const QVariantList &array, QMetaType type);

} // namespace OVExtensions
