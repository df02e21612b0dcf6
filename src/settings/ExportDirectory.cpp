#include "settings/ExportDirectory.h"

namespace rewindle {

ExportDirectory::Path ExportDirectory::defaultURL() const {
    return files_.musicDirectory() / "rewindle";
}

ExportDirectory::Path ExportDirectory::resolvedURL(const std::optional<std::string>& customPath) const {
    if (!customPath || customPath->empty()) return defaultURL();
    Path custom = withoutTrailingSlash(*customPath);
    if (files_.isDirectory(custom) || files_.isDirectory(custom.parent_path())) return custom;
    return defaultURL();
}

bool ExportDirectory::isWritableDirectoryCandidate(const Path& folder) const {
    const Path path = withoutTrailingSlash(folder);
    const Path writable = files_.exists(path) ? path : path.parent_path();
    return files_.isDirectory(writable) && files_.isWritable(writable);
}

Result<void> ExportDirectory::createIfNeeded(const Path& folder) {
    return files_.createDirectories(withoutTrailingSlash(folder));
}

std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path) {
    return path.has_filename() || path == path.root_path() ? path : path.parent_path();
}

} // namespace rewindle
