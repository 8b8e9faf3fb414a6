# What the longest tests take, in seconds. Read by ctest.
set_tests_properties("hoardd/Life.WhateverWasAnsweredIsWholeAfterAKillAtAnyInstant" PROPERTIES COST 140)
set_tests_properties("cli/view" PROPERTIES COST 20)
set_tests_properties("hoardd/Mending.EachPageCanBeDestroyed" PROPERTIES COST 13)
set_tests_properties("cli/Backups.PutBackOriginalsThatHoarddFoundToBeFaulty" PROPERTIES COST 11)
set_tests_properties("hoardd/Fingerprint.IsStableUnderEncodingAndResizingAndTellsPicturesApart" PROPERTIES COST 11)
set_tests_properties("platform/message/Listener.StopsReadingAPeerThatLeavesItsAnswersUnread" PROPERTIES COST 10)
