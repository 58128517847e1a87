# Which tests show which goal of docs/testing.md: a goal, and a regular expression for the names of its
# tests. Each test that fits gets the goal as a label; `ctest -L '^G1$'` runs those of a goal.
#
# Included by tests/CMakeLists.txt, and by ctest itself once the test programs have listed their cases.
set(JTW_GOALS
    # Truncated files
    "G1|^jt_file_tests\\.Sweeps\\.EveryTruncation"
    "G1|^jt_file_tests\\.Wireframe\\.EveryTruncation"
    "G1|^jt_codec_tests\\..*\\.EveryTruncation"
    "G1|^host_tests\\.Idx\\.EveryTruncation"
    # Changed bits and bytes
    "G2|^jt_file_tests\\.Sweeps\\.EveryBit"
    "G2|^jt_codec_tests\\..*EveryChangedBit"
    # Extreme values of fields
    "G3|^jt_file_tests\\.Sweeps\\.EveryField"
    "G3|^jt_file_tests\\.Extremes\\."
    "G3|^jt_file_tests\\.Hostile\\.OffsetsAndSizes"
    # Hostile files by class, each with its code
    "G4|^jt_file_tests\\.Hostile\\."
    "G4|OutsideTheFolder"
    "G4|InItsFolderOnly$"
    "G4|^jt_storage_tests\\.Resolve\\."
    "G4|ViewPage\\.Names"
    # Seeds of the fuzz targets, and findings among them
    "G5|^fuzz\\.replay\\."
    # Killed at each call of a save
    "G6|^jt_storage_tests\\.SaveFaults$"
    "G6|^cli_tests\\.Faults$"
    "G6|^cli_tests\\.Batch\\.That"
    "G6|^jt_storage_tests\\.TemporaryPaths\\."
    # Power cut
    "G7|^jt_storage_tests\\.PowerCut$"
    # Errors of the system at each call
    "G8|^jt_storage_tests\\.SaveFaults$"
    "G8|^cli_tests\\.Faults$"
    "G8|^jtw_tests\\.Saving\\.AFailure"
    "G8|^jtw_tests\\.Saving\\.AfterAFailure"
    "G8|^jt_storage_tests\\.OpenedFile\\.Survives"
    "G8|^cli_tests\\.ChangingFile\\."
    "G8|^jt_storage_tests\\.SaveTogether\\."
    "G8|^dmkrutils_tests\\.(StreamStorage|TransactedFile)\\."
    "G8|^fuzz\\.replay\\.fuzz_stream$"
    # Memory that cannot be allocated
    "G9|LackOfMemory"
    "G9|[Aa]llocation"
    # Memory
    "G11|^jt_file_tests\\.Hostile\\.Bombs"
    "G11|^cli_tests\\.Limits\\."
    "G11|^jt_file_tests\\.Limits\\."
    # Work that grows with the input
    "G12|LinearWork$"
    "G12|LinearTime$"
    "G12|NoMoreWorkThanOne$"
    "G12|WorkGrowsWith"
    # Depth, cycles, shared paths
    "G13|^jt_scene_tests\\.Graph\\.(AChain|TwoLinks|StaysAcyclic)"
    "G13|^jt_inspect_tests\\.Compare\\.DepthAndSharing"
    "G13|^jtw_tests\\..*(Depth|Deep)"
    "G13|^jt_file_tests\\.Hostile\\.FlawsOfASceneGraph"
    # Nothing is lost
    "G14|^jtw_tests\\.Saving\\.WhatNoEditTouched"
    "G14|^jt_document_tests\\.Edit\\.WhatIsNewGetsNewIds"
    "G14|^cli_tests\\..*DataFile\\.CopyReachesAFixedPoint"
    "G14|^jt_scene_tests\\.RandomScene\\."
    # The same bytes
    "G15|TheSameBytes"
    # Threads
    "G16|^thread_stress$"
    "G16|^jt_document_tests\\.Shapes\\.AreDecodedOnce"
    "G16|^jt_document_tests\\.Edit\\.MetaDataIsLoadedOnce"
    "G16|^jt_storage_tests\\.Save\\.(KeepsOneWhole|OfManyAtOnce)"
    # What each check says, so that one that is missing is noticed
    "G18|^jt_file_tests\\.Extremes\\."
    "G18|(WhatDoesNotFitIsRefused|TheRestIsOpaqueWhereAFieldOfItIsWrong)$"
    "G18|EachCheckRefusesSomeDamage$"
    "G18|^jt_codec_tests\\.MeshDamage\\."
    # Promises and their labels
    "G19|^documents$")

# jtw_goals(TEST VARIABLE): the goals of a test, as a list
function(jtw_goals test variable)
  set(goals)
  foreach(row ${JTW_GOALS})
    string(FIND "${row}" "|" bar)
    string(SUBSTRING "${row}" 0 ${bar} goal)
    math(EXPR bar "${bar} + 1")
    string(SUBSTRING "${row}" ${bar} -1 pattern)
    if("${test}" MATCHES "${pattern}" AND NOT ";${goals};" MATCHES ";${goal};")
      list(APPEND goals ${goal})
    endif()
  endforeach()
  set(${variable} ${goals} PARENT_SCOPE)
endfunction()

# jtw_label_test(TEST PROGRAM): labels one test with its program and its goals
function(jtw_label_test test program)
  jtw_goals("${test}" goals)
  set_tests_properties("${test}" PROPERTIES LABELS "${program};${goals}")
endfunction()
