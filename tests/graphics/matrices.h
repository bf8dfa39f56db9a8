#pragma once

#include <QMatrix4x4>

inline QMatrix4x4 translation(float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y, z);
    return matrix;
}

inline QMatrix4x4 scaling(float factor)
{
    QMatrix4x4 matrix;
    matrix.scale(factor);
    return matrix;
}
