#!/bin/bash
# Counting the cases of a test run.
# shellcheck source=tools/tests/lib.sh
. "$(dirname "$0")/lib.sh"

# counted STATUS OUTPUT [MORE]: programs, passed, failed, skipped of a run of one program.
counted() {
    printf '<testsuite>\n<testcase name="a" status="%s">\n%s<system-out>%s\n</system-out>\n</testcase>\n</testsuite>\n' \
        "$1" "${3:-}" "$2" | awk -f "$root/tools/test-summary.awk"
}
cases='PASS   : a::initTestCase()
PASS   : a::b()
PASS   : a::b(row)
SKIP   : a::c() reason
PASS   : a::cleanupTestCase()'

check no_program "0 0 0 0" "$(awk -f "$root/tools/test-summary.awk" </dev/null)"
check cases "1 2 0 1" "$(counted run "$cases")"
check crash_after_passes "1 2 1 1" "$(counted fail "$cases")"
check failed_cases "1 1 2 0" "$(counted fail 'PASS   : a::b()
FAIL!  : a::c() compared
XPASS  : a::d() not expected')"
check program_without_cases "1 1 0 0" "$(counted run 'all is well')"
check broken_program_without_cases "1 0 1 0" "$(counted fail 'oh')"
check no_executable "1 0 1 0" "$(counted notrun '' '<skipped message="Unable to find executable"/>
')"
check program_run_again "1 2 0 1" "$(counted run "PASS   : a::b()
FAIL!  : a::c() compared
with-display: the leak check itself failed; running a again
$cases")"
check skipped_program "1 0 0 1" "$(counted notrun '' '<skipped message="SKIP_RETURN_CODE=77"/>
')"
finish
