#!/usr/bin/env bash
# Type-checks the macOS shell (every .mm under mac/) and the core it compiles (core's .cpp files,
# as C++) against a macOS SDK, so a Linux machine catches what only a Mac could build.
# A file passes when it compiles without a single diagnostic.
#   MACOS_SDK              a MacOSX.sdk folder; without it the check is skipped
#   NLOHMANN_JSON_INCLUDE  the folder that holds nlohmann/json.hpp (default: the first of
#                          /usr/include, /opt/homebrew/include and /usr/local/include that has it)
#   MACOS_CHECK_FLAGS      extra compiler flags
#   CXX                    the compiler (default: clang++)
set -uo pipefail
cd "$(dirname "$0")/.."

if [[ -z "${MACOS_SDK:-}" || ! -d "${MACOS_SDK:-}" ]]; then
  echo "skipped: no macOS SDK (set MACOS_SDK to a MacOSX.sdk folder)"
  exit 0
fi

compiler="${CXX:-clang++}"
target=arm64-apple-macos13

# Header-only nlohmann, as the Mac build takes it from Homebrew; ICU's C headers are the SDK's own.
# nlohmann is linked alone into one folder: the host's /usr/include on the include path would
# shadow the SDK's headers.
headers=$(mktemp -d)
trap 'rm -rf "$headers"' EXIT
link_library() {
  local folder=$1 probe=$2 variable=$3 given=$4
  local candidates=("$given")
  [[ -n "$given" ]] || candidates=(/usr/include /opt/homebrew/include /usr/local/include)
  for candidate in "${candidates[@]}"; do
    if [[ -f "$candidate/$folder/$probe" ]]; then
      ln -s "$(cd "$candidate/$folder" && pwd)" "$headers/$folder"
      return 0
    fi
  done
  echo "check-mac: $folder/$probe not found; set $variable to the folder that holds $folder/" >&2
  exit 2
}
link_library nlohmann json.hpp NLOHMANN_JSON_INCLUDE "${NLOHMANN_JSON_INCLUDE:-}"

flags=(-fsyntax-only -target "$target" -isysroot "$MACOS_SDK" -stdlib=libc++ -std=c++20
       -Wall -Wextra -I core -isystem "$headers"
       -DU_DISABLE_RENAMING=1 -DUCHAR_TYPE=char16_t)
# Recent SDK headers spell the deployment target __ENVIRONMENT_OS_VERSION_MIN_REQUIRED__, which
# older clang does not predefine; define it then, from the same target.
if ! "$compiler" -target "$target" -dM -E -x c /dev/null 2>/dev/null |
    grep -q '__ENVIRONMENT_OS_VERSION_MIN_REQUIRED__'; then
  flags+=(-D__ENVIRONMENT_OS_VERSION_MIN_REQUIRED__=130000)
fi
if [[ -n "${MACOS_CHECK_FLAGS:-}" ]]; then
  read -r -a extra <<<"$MACOS_CHECK_FLAGS"
  flags+=("${extra[@]}")
fi

passed=0
failed=0
check() {
  local file=$1
  shift
  local output
  if output=$("$compiler" "${flags[@]}" "$@" "$file" 2>&1) && [[ -z "$output" ]]; then
    echo "ok      $file"
    passed=$((passed + 1))
  else
    echo "FAILED  $file"
    printf '%s\n' "$output" | sed 's/^/        /'
    failed=$((failed + 1))
  fi
}

while IFS= read -r file; do
  check "$file" -x objective-c++ -fobjc-arc -Wundeclared-selector
done < <(find mac -name '*.mm' | sort)
# All of core but the libcurl client, which only Linux builds (the Mac shell uses NSURLSession).
while IFS= read -r file; do
  check "$file" -x c++ -Wpedantic
done < <(find core -name '*.cpp' ! -path core/net/curl_http_client.cpp | sort)

echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
