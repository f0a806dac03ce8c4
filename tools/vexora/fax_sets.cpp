// fax_sets.cpp - FaxPageProblem and FaxPageCount: what the tool checks of a colour fax set
// before the library loads a page of it.
//
// The library loads a page plane by plane and merges each plane into a 4-bit image; a plane
// file that cannot be loaded is merged as nothing, so a page whose second plane is missing comes
// back looking whole with one colour gone, and a page refused for a wrong BitsPixel gives no
// error code at all. The tool therefore reads the set's profile itself, with the keys and rules
// the loader uses, and names the cause: a page outside the set, planes that are not 1 bit deep,
// or the plane (its file and image number) that cannot be read. A plane file must be a regular
// file (a plane naming /dev/zero would make the library read without end) and must load.
// Such a page is refused, not written incomplete: a picture with a colour plane silently
// missing is the wrong picture.
//
// The profile is read the way the system's profile calls read it: sections and keys without
// regard to case, the first occurrence winning, values trimmed, numbers read as far as they go.
// Only the first kProfileLimit bytes are read: a fax set is a few lines long.
#include "cli.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>
#include <vector>

namespace vexora_tool {
namespace {

constexpr std::streamsize kProfileLimit = 1 << 20;
// GetPrivateProfileStringA fills a 128-byte buffer with the plane file's name.
constexpr size_t kPlaneNameLimit = 127;

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

class Profile {
public:
    explicit Profile(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::string text(static_cast<size_t>(kProfileLimit), '\0');
        in.read(text.data(), kProfileLimit);
        text.resize(static_cast<size_t>(in.gcount()));
        std::string section;
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            const std::string line = Trimmed(text.substr(start, end - start));
            start = end + 1;
            if (line.empty() || line[0] == ';') continue;
            if (line[0] == '[') {
                section = Lower(Trimmed(line.substr(1, line.find(']') - 1)));
                continue;
            }
            const size_t equals = line.find('=');
            if (equals == std::string::npos) continue;
            values_[section].emplace(Lower(Trimmed(line.substr(0, equals))), Trimmed(line.substr(equals + 1)));
        }
    }

    const std::string* Find(const std::string& section, const std::string& key) const {
        const auto s = values_.find(Lower(section));
        if (s == values_.end()) return nullptr;
        const auto k = s->second.find(Lower(key));
        return k == s->second.end() ? nullptr : &k->second;
    }

    long long Int(const std::string& section, const std::string& key, long long fallback) const {
        const std::string* value = Find(section, key);
        return value ? static_cast<int>(std::strtoll(value->c_str(), nullptr, 10)) : fallback;
    }

    std::string Text(const std::string& section, const std::string& key) const {
        const std::string* value = Find(section, key);
        return value ? value->substr(0, kPlaneNameLimit) : std::string();
    }

private:
    std::map<std::string, std::map<std::string, std::string>> values_;
};

struct Plane {
    std::string file;
    int image;
};

// The plane files and image numbers of page `page`, as the loader walks the set.
std::vector<Plane> PlanesOf(const Profile& set, long long page) {
    const long long planes = std::max<long long>(set.Int("ColorFax", "Planes", 0) & 255, 1);
    const long long total = set.Int("ColorFax", "TotalPages", 0);
    const long long first = set.Int("ColorFax", "FirstPage", 1);
    const long long files = set.Int("ColorFax", "Files", 0);
    std::vector<Plane> result;
    if (files == total * planes) {
        const std::string section = "Page" + std::to_string(page - first + 1);
        for (long long p = 0; p < planes; ++p)
            result.push_back({set.Text(section, "Plane" + std::to_string(p)), static_cast<int>(page)});
        return result;
    }
    long long sum = 1, fileFirstPage = 1, file = 1;
    std::string name = set.Text("File" + std::to_string(first), "Name");
    for (; page > sum; ++file) {
        fileFirstPage = sum;
        const std::string section = "File" + std::to_string(file + first - 1);
        sum += set.Int(section, "Pages", 0);
        name = set.Text(section, "Name");
        if (file >= files) break;
    }
    const long long image = (page - fileFirstPage) * planes + 1;
    for (long long p = 0; p < planes; ++p) result.push_back({name, static_cast<int>(image + p)});
    return result;
}

}  // namespace

long long FaxPageCount(const std::string& setPath) {
    const Profile set(setPath);
    return std::max<long long>(set.Int("ColorFax", "TotalPages", 0) - set.Int("ColorFax", "FirstPage", 1) + 1, 0);
}

std::string FaxPageProblem(const std::string& setPath, int page) {
    const Profile set(setPath);
    const long long count =
        std::max<long long>(set.Int("ColorFax", "TotalPages", 0) - set.Int("ColorFax", "FirstPage", 1) + 1, 0);
    if (page < 1 || page > count)
        return "it has no page " + std::to_string(page) + " (it has " + std::to_string(count) + ")";
    if (const long long bits = set.Int("ColorFax", "BitsPixel", 0); bits != 1)
        return "its planes are not 1 bit deep (BitsPixel is " + std::to_string(bits) + ")";
    const std::vector<Plane> planes = PlanesOf(set, page);
    for (size_t p = 0; p < planes.size(); ++p) {
        const std::string what = "plane " + std::to_string(p + 1) + " of page " + std::to_string(page) + " ('" +
                                 planes[p].file + "', image " + std::to_string(planes[p].image) + ")";
        try {
            CheckInputFile(planes[p].file, planes[p].file);
        } catch (const OperationFailed& e) {
            const std::string reason = e.what();
            return what + " cannot be read: " + reason.substr(reason.find("': ") + 3);
        }
        SetImgError(IMGERR_SUCCESS);
        int status = 0;
        const Dib plane(LoadImageIntoDIB(planes[p].file.c_str(), planes[p].image, &status));
        if (!plane) return what + " cannot be loaded: " + LibraryErrorText();
    }
    return {};
}

}  // namespace vexora_tool
