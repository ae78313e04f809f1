// Files are compared by what the host knows of them, never by their names: "./a.s", a link to it
// and "a.s" are one file. Inputs are added as they turn up, outputs are all known at the start.

#include "base/file_register.h"

#include "base/host.h"
#include <algorithm>
#include <set>
#include <string>
#include <vector>

struct Claim {
    OutputKind kind;
    const char *source;
    FileIdentity file;
};

static std::vector<FileIdentity> inputs;
static std::vector<Claim> claims;

// The paths that stand in `inputs`: each pass opens the same ones again.
static std::set<std::string> noted_paths;

void note_input(const char *path)
{
    if (noted_paths.insert(path).second)
        inputs.push_back(identify_file(path));
}

void claim_output(OutputKind kind, const char *source, const char *path)
{
    claims.push_back({kind, source, identify_file(path)});
}

bool falls_on_another(OutputKind kind, const char *source, const char *path)
{
    const FileIdentity file = identify_file(path);
    if (std::any_of(inputs.begin(), inputs.end(),
                    [&](const FileIdentity &input) { return is_same_file(file, input); }))
        return true;
    for (const Claim &claim : claims) {
        if (claim.kind == kind && claim.source == source)
            return false;
        if (is_same_file(file, claim.file))
            return true;
    }
    return false;
}
