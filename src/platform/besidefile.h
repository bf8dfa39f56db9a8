#pragma once

class QString;

namespace platform {

/// Where the file is that belongs at `installed`: there, or, where nothing is, beside the program,
/// for one that is carried about in a folder with all that it needs. Where there is none either,
/// `installed`.
QString installedOrBeside(const QString& installed);

} // namespace platform
