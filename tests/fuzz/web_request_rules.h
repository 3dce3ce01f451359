// What holds for every request to the workbench, whatever it says. Each rule is stated apart
// from the code that keeps it: each function throws std::logic_error if its rule is broken.
#pragma once

#include "workbench/http.h"
#include "workbench/names.h"
#include "workbench/plan.h"

#include <filesystem>
#include <string>

namespace fuzz {

// A request that was let in names this server and comes from no other site, and has the secret:
// `token` in its target or `cookie` ("name=value") among its cookies.
void checkLetIn(const workbench::HttpRequest& request, const std::string& server,
                const std::string& token, const std::string& cookie);

// A new file of that name is directly in the folder that it is put into.
void checkNewName(const std::string& name);

// Percent signs for all bytes of it give the same again.
void checkTarget(const workbench::Target& target);

// The words of a plan are the command, options that the request has, values, and paths that were
// looked up; what it makes is in `runFolder`. The shown line is read as its words by the shell.
void checkPlan(const workbench::Plan& plan, const workbench::RunRequest& request,
               const std::filesystem::path& runFolder);

} // namespace fuzz
