#include "link/build_info.h"

#include "zun_build_commit.h"

namespace zun::link {

QString BuildInfo::version() {
    return QStringLiteral("%1.%2.%3")
        .arg(ZUN_VERSION_MAJOR)
        .arg(ZUN_VERSION_MINOR)
        .arg(ZUN_VERSION_PATCH);
}

QString BuildInfo::commit() {
    return QStringLiteral(ZUN_BUILD_COMMIT);
}

QString BuildInfo::versionLine() {
    return QStringLiteral("%1 (commit %2)").arg(version(), commit());
}

}  // namespace zun::link
