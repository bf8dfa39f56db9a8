#pragma once

/// A look: the program that draws an effect's picture on screen. Parts choose one by its name.
struct Look
{
    const char* name;
    const char* fragmentFile; ///< Its GLSL source, in the resources.
};

/// All of them, in the order in which they are loaded.
inline constexpr Look LOOKS[] = {
    {"contrast", ":/shaders/contrast_fs.glsl"},
    {"contrast2", ":/shaders/contrast2_fs.glsl"},
    {"contrast3", ":/shaders/contrast3_fs.glsl"},
    {"contrast4", ":/shaders/contrast4_fs.glsl"},
};
inline constexpr int NUM_LOOKS = sizeof(LOOKS) / sizeof(LOOKS[0]);

/// What draws the corners for all of them.
inline constexpr char LOOKS_VERTEX_FILE[] = ":/shaders/default_vs.glsl";

/// The pictures of the faces, by DemoPart::Face.
inline constexpr const char* FACE_FILES[] = {
    ":/face/facetestinv.jpg",
    ":/face/facetestinv2.jpg",
    ":/face/facetestinv3.jpg",
};
inline constexpr int NUM_FACES = sizeof(FACE_FILES) / sizeof(FACE_FILES[0]);
