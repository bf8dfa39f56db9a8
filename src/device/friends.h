#pragma once

#include <QObject>
#include <QString>

#include <memory>

/// First names of people whom the phone's owner knows, from the address book, in shuffled order;
/// seven names of the show's own where the book is empty or cannot be read.
class Friends : public QObject
{
    Q_OBJECT

public:
    explicit Friends(QObject* parent = nullptr);
    ~Friends() override;

    /// Reads and shuffles the names; once, before the first name(). The shuffle draws one
    /// qrand() per name. A second call would append to the first one's names.
    void query();

    /// The name at `i` modulo the number of names; `i` must not be negative. May be empty, and
    /// may hold any character. Must not be called before query().
    QString name(int i);

private:
    struct FriendsPrivate;
    std::unique_ptr<FriendsPrivate> d;
};
