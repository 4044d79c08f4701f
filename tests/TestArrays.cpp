// Removing, filtering by kind, and de-duplicating lists.
#include "foundation/OVArrays.h"

#include <QtTest>
#include <memory>

using namespace OVExtensions;

namespace {
struct Value
{
    virtual ~Value() = default;
};
struct Text : Value
{
};
struct MutableText : Text
{
};
struct Number : Value
{
};

class Base : public QObject
{
    Q_OBJECT
};
class Derived : public Base
{
    Q_OBJECT
};
} // namespace

class TestArrays : public QObject
{
    Q_OBJECT

private slots:
    void removingTakesEveryOccurrence()
    {
        const QStringList receiver
            = {QStringLiteral("x"), QStringLiteral("a"), QStringLiteral("x"), QStringLiteral("b"), QStringLiteral("x")};
        QCOMPARE(arrayByRemovingObjectsFromArray(receiver, QStringList {QStringLiteral("x")}),
                 (QStringList {QStringLiteral("a"), QStringLiteral("b")}));
        QCOMPARE(receiver.size(), 5);
    }

    void removingNothingCopies()
    {
        const QList<int> receiver = {3, 1, 2};
        QCOMPARE(arrayByRemovingObjectsFromArray(receiver, QList<int>()), receiver);
        QCOMPARE(arrayByRemovingObjectsFromArray(receiver, QList<int> {9, 1}), (QList<int> {3, 2}));
    }

    void uniqueKeepsFirstOccurrences()
    {
        const QStringList values
            = {QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("a")};
        QCOMPARE(arrayOfUniqueStrings(values),
                 (QStringList {QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("c")}));
        QCOMPARE(arrayOfUniqueStrings(QList<int> {2, 2, 1, 2}), (QList<int> {2, 1}));
    }

    void kindKeepsSubclasses()
    {
        const auto text = std::make_shared<Text>();
        const auto number = std::make_shared<Number>();
        const auto mutableText = std::make_shared<MutableText>();
        const QList<std::shared_ptr<Value>> mixed = {text, number, mutableText, number};
        const QList<std::shared_ptr<Value>> texts = objectsOfKindOfClass<Text>(mixed);
        QCOMPARE(texts.size(), 2);
        QCOMPARE(texts.at(0), std::static_pointer_cast<Value>(text));
        QCOMPARE(texts.at(1), std::static_pointer_cast<Value>(mutableText));
    }

    void kindOfVariants()
    {
        Base base;
        Derived derived;
        QObject other;
        const QVariantList mixed = {QStringLiteral("s"),
                                    42,
                                    QVariant::fromValue<QObject *>(&derived),
                                    QStringLiteral("t"),
                                    QVariant::fromValue<Base *>(&base),
                                    QVariant::fromValue<QObject *>(&other)};
        QCOMPARE(objectsOfKindOfClass(mixed, QMetaType::fromType<QString>()),
                 (QVariantList {QStringLiteral("s"), QStringLiteral("t")}));
        const QVariantList objects = objectsOfKindOfClass(mixed, QMetaType::fromType<Base *>());
        QCOMPARE(objects.size(), 2);
        QCOMPARE(objects.at(0).value<QObject *>(), &derived);
        QCOMPARE(objects.at(1).value<QObject *>(), &base);
    }
};

QTEST_GUILESS_MAIN(TestArrays)
#include "TestArrays.moc"
