# Rules of this repository that no other tool knows. Each rule prints its findings as
# FILE:LINE: TEXT and fails when there is one; script/lint runs them and supplies the files.
# shellcheck shell=bash

# matching PATTERN OPTION...: the lines of the repository's text files that match. No match is
# no failure. The inputs of the fuzz targets are data, not text.
matching() {
    repository_files ':!tests/fuzz/corpus' | xargs -r grep -nHIE "${@:2}" -e "$1" || true
}

# finding REASON: passes grep's lines on, each with the reason; fails when there is one.
finding() {
    local reason=$1 line found=0
    while IFS= read -r line; do
        printf '%s  [%s]\n' "$line" "$reason"
        found=1
    done
    return "$found"
}

# The device libraries are known to the daemon by the contracts of include/platform alone.
rule_daemon_includes() {
    local sources found=0 line header
    mapfile -t sources < <(repository_files 'service/*' 'requests/*' 'agent/*' 'store/*' 'include/*')
    while IFS= read -r line; do
        header=${line#*include*[<\"]}
        header=${header%%[>\"]*}
        if [[ ! -f include/$header ]]; then
            finding "only the headers of include/ may be included from here" <<<"$line" || found=1
        fi
    done < <(grep -nHE '#include *[<"](\.\./)*(client|credentials|orvanectl|redfish|benchmarks|tests|platform/[a-z_]+)/' "${sources[@]}" /dev/null)
    return "$found"
}

# Every source is compiled, so that no test is forgotten.
rule_every_source_is_built() {
    local file found=0
    need_compile_commands
    while IFS= read -r file; do
        if ! grep -qF "\"$ORVANE_ROOT/$file\"" "$COMMANDS"; then
            finding "is part of no target" <<<"$file:1:" || found=1
        fi
    done < <(repository_files '*.cpp')
    return "$found"
}

rule_no_trailing_white_space() {
    matching '[[:blank:]]+$' | finding "white space at the end of the line"
}

# Both words are put together here, so that this file itself is clean.
rule_no_unfinished_work() {
    matching "TO""DO|FIX""ME|X""XX" -w | finding "unfinished work"
}

rule_last_line_ends() {
    local file found=0
    while IFS= read -r file; do
        if [[ -s $file && -n $(tail -c 1 "$file" | tr -d '\0') ]]; then
            finding "no end of line at the end of the file" <<<"$file:$(wc -l <"$file"):" || found=1
        fi
    done < <(repository_files '*.cpp' '*.h' '*.md' '*.txt' '*.cmake' '*.json' '*.sh' 'script/*')
    return "$found"
}

run_house_rules() {
    local rule failed=0
    for rule in rule_daemon_includes rule_every_source_is_built rule_no_trailing_white_space \
        rule_no_unfinished_work rule_last_line_ends; do
        "$rule" || failed=1
    done
    return "$failed"
}
