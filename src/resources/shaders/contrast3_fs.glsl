uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

// The picture's own brightness decides from where it is read.
void main()
{
    mediump vec4 tc = texture2D(s_texture, m_texCoord);
    highp vec2 t = m_texCoord;
    t.x += sin(tc.y * 0.3) * 0.4;
    t.y += cos(tc.x * 0.3) * 0.4;
    mediump vec4 c = texture2D(s_texture, t) * m_color;
    c = c * 2.5 + (0.8 - 0.5 * 2.5);
    //c = clamp(c, 0.0, 1.0);
    gl_FragColor = c;
}
