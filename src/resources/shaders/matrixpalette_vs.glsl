#define MATRIX_PALETTE_SIZE 9

attribute highp vec4 a_pos;
attribute mediump vec4 a_color;
attribute mediump vec2 a_tex0;
attribute highp vec3 a_matrixWeights;
attribute highp vec3 a_matrixIndices;

uniform highp mat4 u_viewProjMatrix;
uniform highp mat4 u_matrixPalette[MATRIX_PALETTE_SIZE];

varying highp vec4 m_color;
varying highp vec2 m_texCoord;

void main()
{
    highp vec4 pos = u_matrixPalette[int(a_matrixIndices.x)] * a_pos * a_matrixWeights.x;
    pos += u_matrixPalette[int(a_matrixIndices.y)] * a_pos * a_matrixWeights.y;
    pos += u_matrixPalette[int(a_matrixIndices.z)] * a_pos * a_matrixWeights.z;

    m_color = a_color;
    m_texCoord = a_tex0;
    gl_Position = u_viewProjMatrix * pos;
}
