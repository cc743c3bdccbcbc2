#!/bin/sh
# What compiles, and what is refused for which reason.
#   propertyCompileTest.sh REASON SNIPPET COMPILER ARGUMENT...
# With "-" for a reason the snippet must compile. Otherwise the compiler must refuse it, and say the reason.
reason=$1
snippet=$2
shift 2

said=$(LC_ALL=C "$@" "-DSNIPPET=$snippet" 2>&1)
status=$?

case "$reason:$status" in
    -:0) exit 0 ;;
    -:*) echo "does not compile: $snippet" ;;
    *:0) echo "compiles, and should not: $snippet" ;;
    *)
        if printf '%s\n' "$said" | grep -qF -- "$reason"; then
            exit 0
        fi
        echo "is refused for another reason than '$reason': $snippet"
        ;;
esac
printf '%s\n' "$said"
exit 1
