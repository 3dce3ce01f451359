#!/usr/bin/env bash
# Tries the tests: makes small wrong changes in the product's sources, one at a time, and lists those that no test
# of their folder notices, with file, line and change.
#   scripts/mutate.sh [--sample N] [--again] [--others] [--at-most SECONDS] [--list] [--jobs N] [PATH...]
# PATHs are folders or files; by default bridge, filters, faces, geometry, features and calib. --sample takes N changes,
# always the same ones while their lines stay. A run that was ended goes on where it was. A result counts while the
# sources of its folder, common/ and include/ stay as they are, and the test that noticed the change, or all tests of the
# folder if none did; --again tries everything again. Changes that make no difference are in tests/equivalent_changes.txt,
# each with the reason, and are tried with --again only. Ends with 1 if any other change was not noticed.
#
# The changes come from the syntax (libclang): relations and arithmetic, constants, negated conditions, swapped arguments
# of one type, dropped statements and calls, flags. One build, in build/mutate, has them all, each switched by a number in
# the environment; so a change costs only the tests that reach it, the fastest first: those of its folder of tests/.
# --others tries what these did not notice with those of the other default folders, common and platform, too. The tests
# of no other folder are run. --at-most is for a first look: the tests that take longer are left out, and what the others
# do not notice is tried again by the next run.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
install_packages build test mutate
mkdir -p "$root/build/mutate"
exec 9<"$root/build/mutate"
flock -n 9 || die "another run is in $root/build/mutate"
exec /usr/bin/python3 -B "$root/scripts/mutate/run.py" "$root" "$@" # the distribution's, which has libclang
