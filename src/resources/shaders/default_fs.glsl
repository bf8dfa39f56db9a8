uniform mediump vec4 a_highlightColor;
uniform sampler2D s_texture;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

void main()
{
    mediump vec4 c = texture2D(s_texture, m_texCoord) * m_color + a_highlightColor;
    gl_FragColor = clamp(c, 0.0, 1.0);
}
