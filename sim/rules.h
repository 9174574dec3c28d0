#pragma once

#include <cstdint>

#include "sim/numbers/fixed.h"
#include "sim/numbers/tick.h"

/// How the game behaves where no document of its own tells: one line each, so that it is easy to
/// correct. Engineering limits stand beside their use instead.
namespace orb::sim::rules {

/// Pixels/s². What nine in ten descriptions of maps say; taken when one says nothing.
inline constexpr float kGravity = 112;
/// Metal of a cell without a deposit. What most descriptions say.
inline constexpr std::int32_t kSurfaceMetal = 3;
/// Wind limits. What most descriptions say.
inline constexpr std::int32_t kLeastWind = 0;
inline constexpr std::int32_t kMostWind = 5'000;

/// What a player begins with of metal and of energy where a schema does not say: what most say, and
/// without a description enough for any preview.
inline constexpr double kUsualStock = 1'000;
inline constexpr double kStockWithoutDescription = 1'000'000;

/// A unit or movement class stands on a slope when the largest difference of the four corner
/// heights of each of its cells, in pixels, is no more than this. Keys use 10 to 32, and 255 for no
/// limit; a class without the key climbs everything, which known classes count on.
inline constexpr std::int32_t kNoLimit = 255;
/// A definition that says neither how deep nor how shallow its unit may stand, and not that it
/// floats, means dry land.
inline constexpr std::int32_t kDryLandDepth = 0;
// What hovers is held up by the water: only its surface can be too steep, not the ground below.

/// Pixels a tick of a weapon whose definition gives none, so that what it fires leaves the muzzle.
inline constexpr std::int32_t kLeastShotSpeed = 1;
/// A shot without a lifetime that may fly beyond its range, or has to turn on its way, lives so
/// many times as long as a straight way of its range takes. Less, and guided shots burn out on
/// detours.
inline constexpr std::int32_t kGuidedLifeShare = 2;
/// Seconds that what is thrown or dropped may fall without reaching the ground.
inline constexpr std::int32_t kMostFallSeconds = 120;
/// Steps of 1/65536 turn within which a weapon without `tolerance` counts as aimed: some 5 degrees.
/// Half of the known weapons give one, from 200 to 37,152.
inline constexpr std::int32_t kAimTolerance = 1'000;
/// Differences within which every weapon goes on counting as aimed, in steps: 1.4 degrees. Less,
/// and those that follow somebody do not get to fire.
inline constexpr std::int32_t kLeastTolerance = 256;
/// Differences after which the barrel of an aimed weapon follows, in steps: 0.003 radians. Less,
/// and more scripts run.
inline constexpr std::int32_t kFineTurn = 32;
/// Ticks between two looks at where a weapon's target lies, and thus between two starts of AimX.
/// Less lets shots follow sudden turns sooner and costs scripts.
inline constexpr std::int32_t kLookEvery = 10;
/// A weapon without a target looks for one in one tick of so many, half a second.
inline constexpr std::int32_t kSearchEvery = 16;
/// Pixels that what climbs climbs above its launcher, that what cruises keeps above the ground, and
/// from the target at which it leaves that height.
inline constexpr std::int32_t kClimbPixels = 256;
/// Pixels below the water's surface that torpedoes keep to.
inline constexpr std::int32_t kTorpedoDepth = 4;
/// Pixels above it at which all other shots take what swims or wades, when its own point lies
/// lower: scripts of ships mostly name the origin of the model, which lies under water.
inline constexpr std::int32_t kHullHeight = 4;
/// Pixels beyond its range after which a shot is over. Range is measured between the middles of
/// units, a shot flies from the muzzle; less, and some end before a target at the very edge.
inline constexpr std::int32_t kRangeSlack = 32;
/// Shots are stopped by units of the player who fired them. Areas of damage hurt those in any case;
/// without it dense groups can shoot at all.
inline constexpr bool kShotsHitFriends = false;
/// Pixels round a place within which a shot at the place has free way.
inline constexpr std::int32_t kPlaceRadius = 16;
/// The muzzle of a unit whose script names none: that part of its height.
inline constexpr std::int32_t kMuzzleHeightParts = 3;
inline constexpr std::int32_t kMuzzleHeightWhole = 4;
/// What HitByWeapon and RockUnit are told at most, in COB angles: 2.7 degrees. Scripts take them as
/// angles to turn to.
inline constexpr std::int32_t kMostRocking = 500;
// Choices about fights that have no number:
// - Weapons choose the nearest enemy; what is not of the player himself is one. Those that are bad
//   targets come last.
// - Straight and thrown shots are aimed at where the target will be if it goes on as it does.
// - A shot that is not for the water ends on the water's surface.
// - Damage falls evenly from the middle of an area to its edge, measured to the victim's box.
// - Features take what a weapon does by default; those without hit points last for ever.
// - Of two paralyzing hits the one that ends later counts; times do not add up.
// - The script of a unit that dies is asked for its corpse: 0, or beyond its chain, is none; a unit
//   without script leaves the first. What was never finished leaves nothing and does not explode.
// - Features in a chain that comes round end where the first would come a second time.

/// Kills for each veteran level that a script reads. Known is only that units are veterans from so
/// many on.
inline constexpr std::int32_t kKillsOfVeteran = 5;

// Going somewhere. No document tells how; higher and lower as said.

/// Who comes so near to his goal is there. Lower makes slow turners circle.
inline constexpr Fixed kArrivalDistance = Fixed::fromInt(2);
/// Whose goal is taken by others is there within so many of his footprints, after so many ticks of
/// standing. Higher ends crowding sooner and leaves looser groups.
inline constexpr std::int32_t kCrowdedGoalFootprints = 2;
inline constexpr Tick kCrowdedGoalTicks = 15;
/// Behind one of its group who is there already a unit stays after so many.
inline constexpr Tick kBehindGroupTicks = 45;
/// It grows by a footprint with so many ticks without getting on, up to this many.
inline constexpr Tick kTicksPerFootprint = 45;
inline constexpr std::int32_t kMostCrowdedGoalFootprints = 12;
/// The longest that somebody takes to stop, in ticks, however little his brakes are said to do.
inline constexpr std::int32_t kMostBrakingTicks = 300;
/// Ticks between two looks at who is in the way, and so near to where it goes first somebody has
/// come round them. Less wanders less and costs more searches.
inline constexpr Tick kLookRoundEvery = 8;
inline constexpr Fixed kDetourReached = Fixed::fromInt(8);
/// Who has gone round others for so long near a crowded goal stays where he is.
inline constexpr std::int16_t kCrowdedDetourTicks = 240;
/// Who goes the same way and has not got on for so long is gone round too. Less breaks up queues.
inline constexpr std::int16_t kJammedTicks = 45;
/// Who comes no farther on such a detour looks for another after so many ticks, and everyone after
/// a while; who has not come nearer to his goal by going round others for so long gives up.
inline constexpr std::int16_t kDetourPatience = 6;
inline constexpr Tick kLongestDetour = 64;
inline constexpr Tick kMostDetourTicks = 900;
/// Whom standing enemies have stopped gives up when they still do so after so many ticks in which
/// he came no nearer to his goal.
inline constexpr Tick kGiveUpOnEnemiesTicks = 600;
/// Where two groups cannot pass one another, after so many ticks the one goes back, for so long.
inline constexpr std::int16_t kStandOffTicks = 45;
inline constexpr std::int16_t kBackTicks = 150;
/// Who has not moved for so many ticks stands: his legs rest.
inline constexpr Tick kStandsTicks = 10;
/// Ticks without getting on after which that is told, and after which the order fails.
inline constexpr Tick kBlockedTicks = 90;
inline constexpr Tick kGiveUpTicks = 300;
/// The same where friends stand in the way. Lower lets those in the middle of a jam give up, who
/// then stand in the way of the others.
inline constexpr Tick kGiveUpOnFriendsTicks = 1'800;
/// Members of a group go beside the group's way as far as their places lie from its middle at the
/// goal, over this, and at most that far. Less crowds them all into one file.
inline constexpr std::int32_t kLaneShare = 2;
inline constexpr Fixed kWidestLane = Fixed::fromInt(192);
/// Who makes room leaves so many cells more than the other needs.
inline constexpr std::int32_t kSideStepCells = 1;

/// Attackers go so much nearer than their range, so that a shot from the muzzle reaches.
inline constexpr Fixed kAttackMargin = Fixed::fromInt(16);
/// Who has come as near as it gets and still has no shot tries again so often whether the target
/// can be got nearer to now.
inline constexpr Tick kSeekShotEvery = 64;
/// Who goes after enemies only a little leaves his place by so much, where his definition does not
/// say. Higher lets units be drawn away.
inline constexpr Fixed kManoeuvreDistance = Fixed::fromInt(320);
/// Who could not get at somebody goes after nobody for so long. Shorter holds up patrols.
inline constexpr Tick kChaseRest = 300;
// Choices about going after enemies that have no number:
// - Units see as far as they themselves see, or shoot, for whom to go after; the nearest counts.
// - Who was there last is forgotten when nobody of his player sees him any more.
// - Aircraft without an order stay on the ground; on patrol they attack whom they meet.
/// A patrol takes at least so long for each leg. Lower lets patrols on the spot tell their arrival
/// all the time.
inline constexpr Tick kPatrolTicks = 30;
/// Guards keep within this distance, and remember for so long who attacked their ward.
inline constexpr Fixed kGuardDistance = Fixed::fromInt(96);
inline constexpr Tick kGuardMemory = 150;

// Flying. Known are cruise heights, speeds and what tilts; no document tells the rest.

/// Pixels a tick that aircraft rise and sink at most while they stand; under way half their speed,
/// where that is more. How fast that changes, and over how many ticks it eases off.
inline constexpr Fixed kClimbSpeed = Fixed::fromInt(2);
inline constexpr Fixed kClimbChange = Fixed::fromRatio(1, 4, Rounding::nearest);
inline constexpr std::int32_t kClimbEase = 16;
/// They look so many ticks ahead for higher ground, and keep so high above it who count their
/// height from the sea.
inline constexpr std::int32_t kGroundLookAhead = 15;
inline constexpr Fixed kLeastClearance = Fixed::fromInt(24);
/// Who has nothing to do lands after so many ticks. Where there is no room he looks again.
inline constexpr Tick kLandingDelay = 15;
inline constexpr Tick kLandingLook = 60;
inline constexpr std::int32_t kLandingRings = 8;
/// Steps of bank for each step of turn in a tick at full speed, and the most of bank and pitch. How
/// fast these change.
inline constexpr std::int32_t kBankPerTurn = 16;
inline constexpr std::int32_t kMostBank = 10'923;
inline constexpr std::int32_t kMostPitch = 5'461;
inline constexpr std::int32_t kTiltRate = 400;
/// Where planes wait they circle at least so far away. Places on their way they pass within the
/// radius of their turns, at least and at most so far.
inline constexpr Fixed kCircleRadius = Fixed::fromInt(96);
inline constexpr Fixed kLeastPassing = Fixed::fromInt(32);
inline constexpr Fixed kMostPassing = Fixed::fromInt(256);
/// Pixels a tick that aircraft are pushed apart whose footprints overlap, at most.
inline constexpr Fixed kAirPush = Fixed::fromInt(1);

// Carrying. Known are the scripts; no document tells the rest. Who is aboard dies with his carrier;
// nobody who is aboard carries others; aircraft and buildings are not carried, nor what others own.
// Who captures a carrier has all who are aboard. Landing pads mend each guest with all of the work
// that their unit does in a tick.

/// From edge to edge, what stands or swims takes aboard and puts down over this distance.
inline constexpr Fixed kLoadDistance = Fixed::fromInt(96);
/// So near above a load, aircraft go down to it; so near they take it.
inline constexpr Fixed kLoadNear = Fixed::fromInt(32);
inline constexpr Fixed kLoadReach = Fixed::fromInt(8);
inline constexpr Fixed kLoadHeight = Fixed::fromInt(3);
/// How long scripts have for it.
inline constexpr std::int32_t kLoadTicks = 900;
/// Where the place to unload is taken, the next within so many cells will do.
inline constexpr std::int32_t kUnloadRings = 5;

// Work, stocks and wind. Known are the rates of building; the rest no document tells.

/// The wind in which a generator gives all that it can.
inline constexpr std::int32_t kFullWind = 5'000;
/// How often the wind changes, by at most which part of the way between its limits, and by at most
/// which part of a turn.
inline constexpr Tick kWindTicks = 30;
inline constexpr std::int32_t kWindSteps = 8;
inline constexpr std::int32_t kWindTurn = 4'096;
/// The part of the energy for building a unit that mending it from nothing costs.
inline constexpr Fixed kRepairEnergy = Fixed::fromRatio(1, 4, Rounding::nearest);
/// Units of work for reclaiming what gives one of metal or energy. Higher makes wrecks last.
inline constexpr std::int32_t kReclaimPerMetal = 10;
inline constexpr std::int32_t kReclaimPerEnergy = 1;
/// A frame that nobody has built for so long decays, from whole to nothing in so many ticks.
inline constexpr Tick kDecayAfter = 300;
inline constexpr std::int32_t kDecayTicks = 1'800;
/// A builder on patrol looks in one tick of so many for something to do within its reach. Higher
/// lets fast ones pass by.
inline constexpr Tick kChoreEvery = 16;
/// Ticks after which what was done to capture somebody is forgotten.
inline constexpr Tick kCaptureMemory = 90;
// What burns.

/// Seconds that something burns which does not say so, and between its sparks.
inline constexpr float kBurnSecondsLeast = 5;
inline constexpr float kBurnSecondsMost = 10;
inline constexpr float kSparkSeconds = 2;
/// Sparks fly so many cells beyond the edge of what burns. Higher lets sparse woods burn down too.
inline constexpr std::int32_t kSparkCells = 2;
// - What has burnt down becomes its burnt follower, without one what it becomes when destroyed.
// - Only features that block are hit, and thus set on fire.

/// How often a builder's script is asked which piece its spray leaves.
inline constexpr Tick kNanoTicks = 10;
/// How long a builder waits for others to leave its site.
inline constexpr std::int32_t kSiteWaitTicks = 300;
/// New units go so many cells farther than they need to leave their factory.
inline constexpr std::int32_t kRallyCells = 3;

// Seeing and hiding. Known are the distances; the rest no document tells.

/// Who only goes on looks around in one tick of so many, and only from another tile. Higher lets
/// scouts see later and costs less.
inline constexpr std::int32_t kLookAroundEvery = 8;
/// Pixels above the ground under it from which even the lowest unit looks. Less, and small ones see
/// nothing over a bump.
inline constexpr std::int32_t kLeastEyeHeight = 16;
/// Radar and sonar look at a unit in one tick of so many.
inline constexpr std::int32_t kSweepEvery = 16;
/// A unit that hides looks for enemies too near in one tick of so many.
inline constexpr std::int32_t kCloakLookEvery = 4;
/// Who was found out does not hide for so long.
inline constexpr Tick kFoundOutTicks = 90;
// Choices about sight that have no number:
// - Ground and water hide what lies behind them, features do not.
// - Only what is built sees, and nobody sees from aboard of something.
// - Sight knows no depth: it finds what is under water, radar does not and sonar only what is in
// it.
// - Radar, sonar and jammers work while their unit is active, its energy paid in full, and it is
// not
//   stunned.
// - Who hides is still on radar, but nobody aims at him; an order to attack finds him again when
//   he is found out.
// - Orders may name what nobody has seen: they are given by somebody who sees everything.

/// Shots that a weapon with a stockpile makes ahead; they are lost when its unit is captured.
inline constexpr std::int32_t kStockpile = 5;
/// Ticks between two shots out of a stockpile; `reloadtime` is what making one takes.
inline constexpr Tick kStockpileReload = 30;
/// An interceptor bursts beside its target from so many pixels on, and what both fly in a tick.
inline constexpr std::int32_t kInterceptDistance = 16;

/// The worst way to die, in percent of the health that there was.
inline constexpr std::int32_t kMostSeverity = 200;

}  // namespace orb::sim::rules
