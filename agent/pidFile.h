// Whether the agent runs already: a pid file, believed only while its process bears the name.
#pragma once

/// True when another agent runs. Otherwise writes the calling process's id to the pid file, whose
/// directory is made when missing, and returns false; a pid file left by a crash, or one whose
/// number now belongs to another program or to this very process, does not count. Two agents that
/// start at the same moment are told apart. A pid file that cannot be written stops nobody.
bool anotherInstanceRuns();
