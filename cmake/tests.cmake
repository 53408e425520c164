# How a test joins a layer. `./run test` counts by layer, so every test carries the label of its folder:
# layout, unit, fake, kit, host, integration or checks.

include(GoogleTest)

# Registers every test of the googletest program `target` under `label`. The names begin with the target's,
# because one suite may run in several programs (the kit: once over the fake, once over the host).
function(kov_add_tests target label)
  gtest_discover_tests(${target}
    TEST_PREFIX "${target}/"
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS ${label} TIMEOUT 120)
endfunction()

# Registers one command as a test under `label`; what follows is the command. Exit code 0 is success.
function(kov_add_command_test name label)
  add_test(NAME ${name} COMMAND ${ARGN})
  set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT 300)
endfunction()
