#pragma once

#include <QString>

namespace zun::link {

// The version of this build and the commit it was built from, for --version and the About box.
class BuildInfo {
public:
    // "1.0.0": the project's version, all three numbers.
    static QString version();
    // The short commit hash, or "unknown" for a build outside a git checkout.
    static QString commit();
    // "1.0.0 (commit 0123456789ab)", the text after the program's name in --version.
    static QString versionLine();
};

}  // namespace zun::link
