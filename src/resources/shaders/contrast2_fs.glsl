uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

// (c - 0.5) * 2.5 + 0.8, as one step: the numbers are reckoned by the compiler.
void main()
{
    mediump vec4 c = texture2D(s_texture, m_texCoord) * m_color;
    c = c * 2.5 + (0.8 - 0.5 * 2.5);
    //c = clamp(c, 0.0, 1.0);
    gl_FragColor = c;
}
