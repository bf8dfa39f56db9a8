#pragma once

#include "support/glrecorder.h"

#include <QTest>

#include <memory>

/// What the handles on GL buffers have in common, whatever is in the buffer. `created` gives the
/// only handle on one; glrecorder must be recording.
namespace bufferhandles {

template <typename Buffer>
void lastOneDeletes(Buffer (*created)())
{
    auto buffer = std::make_unique<Buffer>(created());
    const unsigned int id = buffer->id();
    auto copy = std::make_unique<Buffer>(*buffer);
    glrecorder::takeCalls();
    buffer.reset();
    QCOMPARE(glrecorder::calls(), QStringList());
    QCOMPARE(copy->id(), id);
    copy.reset();
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteBuffers(%1)").arg(id)});
}

template <typename Buffer>
void assignmentDeletesTheFormer(Buffer (*created)())
{
    Buffer buffer = created();
    const unsigned int id = buffer.id();
    glrecorder::takeCalls();
    buffer = Buffer();
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteBuffers(%1)").arg(id)});
    QCOMPARE(buffer.id(), 0u);
}

} // namespace bufferhandles
