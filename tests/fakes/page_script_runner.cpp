#include "fakes/page_script_runner.h"

#include <sys/wait.h>

#include <cstdlib>

#include "fakes/temp_dir.h"

namespace brisel::testing {

namespace {

using nlohmann::json;

// The page, in node. The scripts come as data in a file, so nothing in them is ever parsed as
// part of this harness; the report goes to standard output as one JSON text.
constexpr const char* harness = R"JS('use strict';
const input = JSON.parse(require('fs').readFileSync(process.argv[2], 'utf8'));
const report = { received: [], errors: [] };
const copy = (value) => (value === undefined ? null : JSON.parse(JSON.stringify(value)));
process.on('uncaughtException', (error) => report.errors.push(String(error)));
globalThis.window = Object.assign(new EventTarget(), { location: { origin: input.origin } });
globalThis.location = window.location;
for (const type of ['omvane:native', 'brisel:export-result', 'brisel:auth-result'])
  window.addEventListener(type, (event) => report.received.push({ type, detail: copy(event.detail) }));
const AsyncFunction = (async () => {}).constructor;
(async () => {
  for (const { source, functionBody, arguments: values } of input.steps) {
    try {
      if (source !== undefined) require('vm').runInThisContext(source);
      else await new AsyncFunction(...Object.keys(values), functionBody)(...Object.values(values));
    } catch (error) { report.errors.push(String(error)); }
  }
  setImmediate(() => process.stdout.write(JSON.stringify({ ...report, lastNative: copy(window.__omvaneLastNative) })));
})();
)JS";

PageRun runPage(const json& steps, const PageSetup& setup) {
    TempDir dir;
    writeFile(dir / "page.js", harness);
    writeFile(dir / "input.json", json{{"origin", setup.origin}, {"steps", steps}}.dump());
    const char* node = ::getenv("BRISEL_NODE");
    const int status = std::system(("'" + std::string(node && *node ? node : "node") + "' '" + (dir / "page.js").string() + "' '" +
                                    (dir / "input.json").string() + "' > '" + (dir / "report.json").string() + "'").c_str());
    const std::string text = readFile(dir / "report.json");
    const json report = json::parse(text, nullptr, false);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !report.is_object()) return {false, "node failed (its standard error is above): " + text};
    PageRun run{true, "", report["received"], report["lastNative"]};
    for (const auto& error : report["errors"]) run.failure += error.get<std::string>() + "; ";
    return run;
}

}  // namespace

PageRun runPageScripts(const std::vector<std::string>& scripts, const PageSetup& setup) {
    json steps = json::array();
    for (const auto& script : scripts) steps.push_back({{"source", script}});
    return runPage(steps, setup);
}

PageRun runPageCalls(const std::vector<AsyncCall>& calls, const PageSetup& setup) {
    json steps = json::array();
    for (const auto& call : calls) steps.push_back({{"functionBody", call.functionBody}, {"arguments", call.arguments}});
    return runPage(steps, setup);
}

}  // namespace brisel::testing
