#pragma once

#include <filesystem>

namespace tavrin {

class Report;

/// What a meeting's stages cost a processor for an hour of both lanes, each alone: conversion, archive (its files below
/// `folder`) and chunking.
void measureMeetingStages(const std::filesystem::path& folder, Report& report);

} // namespace tavrin
