#!/usr/bin/env bash
# Checks that what is installed is hardened, by what the files are and not by how they were compiled:
# every program and library below bin and lib/kxinfo.
#
#   hardened.sh PREFIX
set -euo pipefail
prefix=${1:?hardened.sh PREFIX}

faults=0
fault() {
    echo "hardened: ${file#"$prefix/"}: $*" >&2
    faults=$((faults + 1))
}

# Reads a disassembly; says which frames of more than a page are not touched page by page (x86).
large_frames() {
    awk '/^[0-9a-f]+ <.*>:$/ { name = $2 }
        page && !/(or|mov)[lq] +\$0x0,.*\(%rsp\)/ { print "a page of the stack in " name }
        { page = 0 }
        match($0, /sub +\$0x[0-9a-f]+,%rsp/) {
            size = substr($0, RSTART, RLENGTH - 5)
            sub(/.*0x/, "", size)
            page = size == "1000"
            # Longer numbers are negative ones.
            if (!page && length(size) >= 4 && length(size) < 16) print "0x" size " bytes in " name
        }'
}

# Reads a disassembly; says which of the functions, by their addresses, begin without a mark (x86).
unmarked() {
    awk -v addresses="$1" 'BEGIN { split(addresses, list); for (i in list) wanted[list[i]] = 1 }
        /^[0-9a-f]+ <.*>:$/ { function_name = $2; looked_at = $1 in wanted; next }
        looked_at { looked_at = 0; if (!/endbr64/) print function_name }'
}

probed=no
while IFS= read -r file; do
    headers=$(readelf --file-header --program-headers --dynamic --wide "$file")
    imports=$(nm --dynamic --undefined-only "$file")
    case $file in
    */bin/* | */kxinfo-host) [[ $headers =~ FLAGS_1[^$'\n']*PIE ]] || fault "lies at fixed addresses" ;;
    esac
    [[ $headers == *GNU_RELRO* ]] || fault "what the loader has filled in stays writable"
    # The plug-in is also run as a program, when its host's functions are missing.
    [[ $file == */libkxinfo-dalsa.so || $headers =~ FLAGS_1[^$'\n']*NOW ]] ||
        fault "binds functions late, through a table that stays writable"
    [[ $headers =~ GNU_STACK[^$'\n']*RW\  ]] || fault "what is on the stack can be run"
    [[ $imports == *" __stack_chk_fail"* ]] || fault "no frame is guarded"
    [[ ${imports//__stack_chk_fail/} =~ \ __[a-z]+_chk ]] || fault "no call checks its bounds"

    [[ $headers == *"X86-64"* ]] || continue
    code=$(objdump --disassemble --no-show-raw-insn "$file")
    if grep -qE '(or|mov)[lq] +[$]0x0,.*[(]%rsp[)]' <<<"$code"; then probed=yes; fi
    large=$(large_frames <<<"$code")
    [ -z "$large" ] || fault "grows past the guard page: $large"
    # Functions that others call: what a library exports, a program's main().
    called=$({ nm --dynamic --defined-only "$file" && nm "$file"; } |
        awk '$2 == "T" && $3 !~ /^_(start|init|fini)$/ { print $1 }')
    [ -n "$called" ] || fault "no function found that others call"
    bare=$(unmarked "$called" <<<"$code")
    [ -z "$bare" ] || fault "can be jumped into anywhere, with $(wc -l <<<"$bare") functions: ${bare%%$'\n'*}"
done < <(find "$prefix/bin" "$prefix/lib/kxinfo" -type f)
[ -n "${headers:-}" ] || fault "nothing is installed"
[ -z "${code:-}" ] || [ $probed = yes ] || fault "nor does any other file touch the stack page by page"
[ $faults -eq 0 ]
