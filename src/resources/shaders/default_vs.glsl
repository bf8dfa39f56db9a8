attribute highp vec4 a_pos;
attribute mediump vec4 a_color;
attribute mediump vec2 a_tex0;

uniform highp mat4 u_viewProjMatrix;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

void main()
{
    m_color = a_color;
    m_texCoord = a_tex0;
    gl_Position = u_viewProjMatrix * a_pos;
}
