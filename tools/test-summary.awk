# Reads the JUnit file of one CTest run and prints: programs, passed, failed and skipped cases.
# A case is a result line of a Qt Test program; a program without such lines is one case itself. A
# program that ended badly counts as a failure even when each of its cases passed (a crash, a
# time-out, a leak found at its end).
function finish_program() {
    ++programs
    if (status == "notrun" && message ~ /SKIP_/)
        ++skips
    else if (status != "run" && !fails)
        ++fails
    else if (!passes && !fails && !skips)
        ++passes
    passed += passes; failed += fails; skipped += skips
}
/<testcase / {
    passes = fails = skips = 0
    message = ""
    status = $0
    sub(/.* status="/, "", status)
    sub(/".*/, "", status)
}
/<skipped / { message = $0 }
{ sub(/^[ \t]*<system-out>/, "") }
# Only the last run of a program counts (tests/support/sandbox.sh).
/: the leak check itself failed; running .* again$/ { passes = fails = skips = 0 }
/^PASS   : / && !/::(init|cleanup)TestCase\(\)/ { ++passes }
/^(FAIL!  |XPASS  ): / { ++fails }
/^SKIP   : / { ++skips }
/<\/testcase>/ { finish_program() }
END { printf "%d %d %d %d\n", programs, passed, failed, skipped }
