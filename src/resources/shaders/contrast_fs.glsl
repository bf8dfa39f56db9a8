uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

// A bent picture, nearly cut to black and white, over a third of the plain one: c * 0.3 + hard * 0.1,
// or hard * 1.9 where its red is not below 0.5, with hard = (c - 0.7) * 7.5 + 3.5. Multiplied out, it
// is one step: a phone's cheapest. Red is below 0.5 there where that of c is below 0.3.
void main()
{
    highp vec2 t = m_texCoord;
    t.x += sin(t.y * 6.0) * 0.1;
    mediump vec4 c = texture2D(s_texture, t) * m_color;
    mediump vec2 part = c.x < 0.3 ? vec2(1.05, -0.175) : vec2(14.55, -3.325);
    c = c * part.x + part.y;
    //c = clamp(c, 0.0, 1.0);
    gl_FragColor = c;
}
