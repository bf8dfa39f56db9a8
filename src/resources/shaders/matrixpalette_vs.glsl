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
    // Every matrix in turn, and not by its index: where a GPU has none, its driver makes a tree of
    // choices of each, and three of them are more than a Mali-400 holds.
    highp vec4 x = u_matrixPalette[0] * a_pos;
    highp vec4 y = x;
    highp vec4 z = x;
    for (int i = 1; i < MATRIX_PALETTE_SIZE; ++i) {
        highp vec4 moved = u_matrixPalette[i] * a_pos;
        if (a_matrixIndices.x >= float(i)) {
            x = moved;
        }
        if (a_matrixIndices.y >= float(i)) {
            y = moved;
        }
        if (a_matrixIndices.z >= float(i)) {
            z = moved;
        }
    }
    highp vec4 pos = x * a_matrixWeights.x;
    pos += y * a_matrixWeights.y;
    pos += z * a_matrixWeights.z;

    m_color = a_color;
    m_texCoord = a_tex0;
    gl_Position = u_viewProjMatrix * pos;
}
