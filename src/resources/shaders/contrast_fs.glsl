uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

// hard = (c - 0.7) * 7.5 + 3.5 is c * GAIN + OFFSET.
const mediump float GAIN = 7.5;
const mediump float OFFSET = 3.5 - 0.7 * GAIN;

// A bent picture, nearly cut to black and white, over a third of the plain one: c * 0.3 + hard * 0.1,
// or hard * 1.9 where its red is not below 0.5. Multiplied out, it is one choice and one step: the
// numbers are reckoned by the compiler, and a phone is spared the colour that is not chosen.
void main()
{
    highp vec2 t = m_texCoord;
    t.x += sin(t.y * 6.0) * 0.1;
    mediump vec4 c = texture2D(s_texture, t) * m_color;
    mediump vec2 part = c.x < (0.5 - OFFSET) / GAIN
                            ? vec2(0.3 + 0.1 * GAIN, 0.1 * OFFSET)
                            : vec2(0.3 + 1.9 * GAIN, 1.9 * OFFSET);
    c = c * part.x + part.y;
    //c = clamp(c, 0.0, 1.0);
    gl_FragColor = c;
}
