uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

// A bent picture, nearly cut to black and white, over a third of the plain one.
void main()
{
    highp vec2 t = m_texCoord;
    t.x += sin(t.y * 6.0) * 0.1;
    mediump vec4 c = texture2D(s_texture, t) * m_color;
    mediump vec4 cc = c;
    c = (c - 0.7) * 7.5 + 3.5;
    if (c.x < 0.5) {
        c *= 0.1;
    } else {
        c *= 1.9;
    }
    //c = clamp(c, 0.0, 1.0);
    gl_FragColor = cc * 0.3 + c;
}
