// The tests by name; what each asks stands in TestList.cpp. All may throw Abandoned.
#pragma once

#include "validate/Check.h"

namespace ond::validate::tests {

// LoadingTests.cpp
void loads(Check& check);
void exportsTwoFunctions(Check& check);
void version(Check& check);
void firstPlugin(Check& check);
void pluginListEnds(Check& check);
void loadsAgain(Check& check);

// DescriptorTests.cpp
void descriptorTexts(Check& check);
void accessToken(Check& check);
void descriptorLists(Check& check);
void pluginStatus(Check& check);
void interfaceStamp(Check& check);
void descriptorExtensions(Check& check);
void unknownDescriptorExtensions(Check& check);
void descriptorAtAnyTime(Check& check);

// ObjectTests.cpp
void createsObjects(Check& check);
void anyName(Check& check);
void objectExtensions(Check& check);
void releasesInEveryState(Check& check);
void manyObjects(Check& check);

// MemoryTests.cpp
void memoryComesBack(Check& check);

// DeclarationTests.cpp
void declares(Check& check);
void declaresTheSame(Check& check);
void inputChannels(Check& check);
void channelFactory(Check& check);
void outputChannels(Check& check);
void withoutOutputs(Check& check);
void refusedOutputs(Check& check);
void refusedChannels(Check& check);
void hostMadeChannels(Check& check);
void withoutDescriptor(Check& check);
void withoutLink(Check& check);
void makesElements(Check& check);
void sameRig(Check& check);

// UseTests.cpp
void usesTheHost(Check& check);
void messages(Check& check);

// RunTests.cpp
void runsInAnyOrder(Check& check);
void longRuns(Check& check);
void fullTravel(Check& check);
void changingGround(Check& check);
void anyFrameRate(Check& check);
void showsAnyTime(Check& check);
void withoutGround(Check& check);
void withoutSurfaces(Check& check);
void emptySurfaces(Check& check);
void missedSurfaces(Check& check);
void withoutRelations(Check& check);
void nullChildren(Check& check);
void deletedElements(Check& check);
void deletedInARun(Check& check);
void sameRunSameBits(Check& check);
void sideBySide(Check& check);
void unpluggedChannels(Check& check);
void editsEveryItem(Check& check);
void editsInARun(Check& check);
void unknownEvents(Check& check);

// UndoTests.cpp
void undoRecords(Check& check);
void undoOfARun(Check& check);
void undoOfEdits(Check& check);

// StateTests.cpp
void savesABlock(Check& check);
void savesTheSameTwice(Check& check);
void savingChangesNothing(Check& check);
void blockIsAChunk(Check& check);
void loadsWhatItSaved(Check& check);
void rowsComeBack(Check& check);
void savedLoadedSaved(Check& check);
void resumesFromALoad(Check& check);
void readsOnlyTheBlock(Check& check);
void noBlock(Check& check);
void loadsWithoutElements(Check& check);
void loadsIntoAChangedScene(Check& check);
void otherLocale(Check& check);

// DamageTests.cpp
void truncatedBlocks(Check& check);
void flippedBlocks(Check& check);
void randomBlocks(Check& check);
void deepBlocks(Check& check);
void oversizedLengths(Check& check);

// ProcessTests.cpp
void startsNoThreads(Check& check);
void opensNoFiles(Check& check);
void printsNothing(Check& check);
void keepsProcessSettings(Check& check);

// ApartTests.cpp
void sameBitsAnywhere(Check& check);
void asksNothingOfTheSystem(Check& check);

// CarEventTests.cpp
void carEvents(Check& check);
void carRowsApart(Check& check);
void carTurnBase(Check& check);
void carStoredGround(Check& check);
void carGauges(Check& check);

// CarMotionTests.cpp
void carWheels(Check& check);
void carSteering(Check& check);
void carSeeds(Check& check);
void carStance(Check& check);
void carSlopes(Check& check);
void carPedals(Check& check);
void carBrakes(Check& check);
void carEverywhere(Check& check);
void carResumes(Check& check);
void carEditsInRuns(Check& check);
void carFollows(Check& check);
void carCamera(Check& check);
void carGaps(Check& check);
void carHistoryValues(Check& check);

// CarGripTests.cpp
void carSprings(Check& check);
void carBurnouts(Check& check);
void carSkids(Check& check);

// CarRunTests.cpp
void carFrames(Check& check);
void carHelpers(Check& check);
void carMessages(Check& check);
void carOutputValues(Check& check);
void carShownGauges(Check& check);
void carKeepsRows(Check& check);
void carInputEffects(Check& check);
void carDrive(Check& check);
void carHistories(Check& check);

// CarStateTests.cpp
void carBlock(Check& check);
void carOldBlocks(Check& check);
void carRefusedBlocks(Check& check);
void carFlight(Check& check);
void carLoading(Check& check);

// CarTests.cpp
void carDescriptor(Check& check);
void carChannels(Check& check);
void carDialog(Check& check);
void carRig(Check& check);
void carUndo(Check& check);
void carScrubbing(Check& check);

}  // namespace ond::validate::tests
