# Caches clang-tidy's verdicts: a clean source is checked again only if something that it is made of
# has changed. Keys do not contain the checkout's path, so all checkouts of a user share the cache.
# shellcheck shell=bash

# dependency_table FILE...: for each file one line "FILE HEADER..." with all headers of the repository
# that it includes, directly or not. Includes are matched by the end of a path: a header of the same
# name may be listed too many, but none is missing.
dependency_table() {
    awk '
        FNR == 1 { files[++count] = FILENAME }
        match($0, /^[ \t]*#[ \t]*include[ \t]*"[^"]+"/) {
            text = substr($0, RSTART, RLENGTH)
            gsub(/^[^"]*"|"$/, "", text)
            gsub(/^(\.\.?\/)+/, "", text)
            wanted[FILENAME] = wanted[FILENAME] text "\n"
        }
        function ends_with(path, tail) {
            return path == tail || substr(path, length(path) - length(tail)) == "/" tail
        }
        END {
            for (i = 1; i <= count; ++i) {
                part = files[i]
                while (sub(/^[^\/]*\//, "", part)) { by_tail[part] = by_tail[part] files[i] "\n" }
                by_tail[files[i]] = by_tail[files[i]] files[i] "\n"
            }
            for (i = 1; i <= count; ++i) {
                delete seen; delete queue
                queue[first = last = 1] = files[i]; seen[files[i]] = 1; line = files[i]
                while (first <= last) {
                    number = split(wanted[queue[first++]], names, "\n")
                    for (n = 1; n < number; ++n) {
                        hits = split(by_tail[names[n]], paths, "\n")
                        for (h = 1; h < hits; ++h) {
                            if (!(paths[h] in seen)) {
                                seen[paths[h]] = 1; queue[++last] = paths[h]; line = line " " paths[h]
                            }
                        }
                    }
                }
                print line
            }
        }' "$@"
}

# hashes_of_code: for each file named on standard input a line "HASH FILE". Lines that are a comment
# do not count, so that rewording one costs nothing; those that switch a check off do.
hashes_of_code() {
    local folder
    folder=$(mktemp -d)
    (
        cd "$folder" || exit
        while IFS= read -r file; do
            mkdir -p "$(dirname "$file")"
            printf '%s\n' "$file"
        done | (cd "$ORVANE_ROOT" && xargs -r awk -v folder="$folder" '
            FNR == 1 { close(out); out = folder "/" FILENAME; printf "" >out }
            !/^[ \t]*\/\// || /NOLINT/ { print >out }')
        find . -type f -printf '%P\n' | xargs -r sha256sum
    )
    rm -rf "$folder"
}

# tidy_one SOURCE STAMP: checks one source; creates the stamp if it is clean.
tidy_one() {
    local output
    if output=$(clang-tidy --quiet -p "$TIDY_DATABASE" --extra-arg=-Wno-unknown-warning-option "$1" 2>&1); then
        : >"$2"
    else
        printf '%s\n' "$output"
        return 1
    fi
}
export -f tidy_one

# run_tidy COMPILE_COMMANDS CACHE_FOLDER: every source of the repository that is built.
run_tidy() {
    local commands=$1 cache=$2 line source key common file hash stale=()
    mkdir -p "$cache"
    find "$cache" -type f -mtime +30 -delete
    common=$(clang-tidy --version && g++ --version && repository_files '*.clang-tidy' | xargs sha256sum)

    local -A content command
    while read -r hash file; do
        content[$file]=$hash
    done < <(repository_files '*.cpp' '*.h' | hashes_of_code)
    # CMake writes "command" one line above "file".
    while IFS= read -r line; do
        case $line in
        *'"command": '*) hash=$line ;;
        *'"file": '*)
            file=${line#*\"file\": \"}
            file=${file%%\"*}
            command[${file#"$ORVANE_ROOT"/}]=${hash//"$ORVANE_ROOT"/.}
            ;;
        esac
    done <"$commands"

    while read -r -a files; do
        source=${files[0]}
        [[ $source == *.cpp && -n ${command[$source]-} ]] || continue
        key=$({
            printf '%s\n' "$common" "${command[$source]}"
            for file in "${files[@]}"; do
                printf '%s %s\n' "$file" "${content[$file]}"
            done
        } | sha256sum)
        key=$cache/${key%% *}
        if [[ -e $key ]]; then
            touch "$key"
        else
            stale+=("$source" "$key")
        fi
    done < <(repository_files '*.cpp' '*.h' | xargs -r bash -c 'dependency_table "$@"' bash)

    ((${#stale[@]} > 0)) || return 0
    say "clang-tidy checks $((${#stale[@]} / 2)) sources"
    printf '%s\n' "${stale[@]}" |
        TIDY_DATABASE=$(dirname "$commands") xargs -P "$(nproc)" -n 2 bash -c 'tidy_one "$@"' bash
}
export -f dependency_table
