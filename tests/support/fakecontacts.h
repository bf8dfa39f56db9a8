#pragma once

#include <QStringList>

/// An address book for a test binary that links this: a contacts back end that a test fills with
/// display labels. It stands behind the default manager once use() was called, before the first
/// manager is made.
namespace fakecontacts {

void use();

/// The labels, in the store's order.
void setLabels(const QStringList& labels);

/// How many contacts were fetched one by one since setLabels().
int fetched();

} // namespace fakecontacts
