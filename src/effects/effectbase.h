#pragma once

#include <QObject>

class FrameBitmap;

/// The base of the effects that fill a FrameBitmap: what they do not override is colour noise.
class EffectBase : public QObject
{
    Q_OBJECT

public:
    explicit EffectBase(QObject* parent = nullptr);

    /// Makes what the effect needs; once, before the first frame.
    virtual void init();

    /// Draws frame number `frame` of the current part, counted from 0. Here: noise from three
    /// qrand() a pixel.
    virtual void renderFrame(FrameBitmap* bitmap, int frame);
};
