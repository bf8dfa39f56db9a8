// All attributes there are, the last ones first.
attribute highp vec3 a_matrixIndices;
attribute highp vec3 a_matrixWeights;
attribute mediump vec2 a_tex0;
attribute mediump vec4 a_color;
attribute highp vec4 a_pos;

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

void main()
{
    m_color = a_color;
    m_texCoord = a_tex0;
    gl_Position = a_pos + vec4(a_matrixIndices + a_matrixWeights, 0.0);
}
