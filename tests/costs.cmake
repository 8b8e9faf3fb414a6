# What the longest tests take, in seconds. Read by ctest.
set_tests_properties("view/page" PROPERTIES COST 100)
set_tests_properties("hoardd/Life.WhateverWasAnsweredIsWholeAfterAKillAtAnyInstant" PROPERTIES COST 60)
set_tests_properties("hoardd/Analysis.AKillAtAnyInstantLeavesWhatTheNextDaemonCompletes" PROPERTIES COST 7)
set_tests_properties("platform/queue/GlobalQueue.RunsTheNextItemWhileAnyNumberIsBlocked" PROPERTIES COST 5)
set_tests_properties("hoardd/media/MediaWorkers.ReplacesAWorkerThatStandsStill" PROPERTIES COST 5)
