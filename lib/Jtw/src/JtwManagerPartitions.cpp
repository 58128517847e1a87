#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "ApiClock.h"
#include "ApiDebugOutput.h"
#include "ApiLogLogger.h"
#include "JtPartition.h"
#include "JtResidencyRequestManager.h"
#include "JtwManager.h"

void JtwManager::insertJtPartition(const ApiDocumentRef& document, JtPartition* partition) {
  Partitions partitions = partitionsOf(document);
  if (std::ranges::find(partitions, partition) == partitions.end()) {
    partitions.push_back(partition);
    docTojtPartitionsVec_.insert_or_assign(document, std::move(partitions));
  }
  jtPartitionToDoc_.insert_or_assign(partition, document);
}

JtPartition* JtwManager::findJtPartition(const ApiDocumentRef& document) const {
  const auto found = docTojtPartitionsVec_.find(document);
  return found == docTojtPartitionsVec_.end() ? nullptr : found->second.back();
}

bool JtwManager::getApiDocumentRef(const JtPartition* partition, ApiDocumentRef& document) const {
  const auto found = jtPartitionToDoc_.find(partition);
  if (found == jtPartitionToDoc_.end()) return false;
  document = found->second;
  return true;
}

JtwManager::Partitions JtwManager::partitionsOf(const ApiDocumentRef& document) const {
  const auto found = docTojtPartitionsVec_.find(document);
  if (found != docTojtPartitionsVec_.end()) return found->second;
  Partitions none;
  none.reserve(64);
  return none;
}

void JtwManager::removeJtPartition(JtPartition* partition) {
  ApiDocumentRef document;
  if (!getApiDocumentRef(partition, document)) return;

  // The document may have changed its identity since it was entered.
  if (!docTojtPartitionsVec_.contains(document)) refreshDocTojtPartitionsHash();
  if (const auto found = docTojtPartitionsVec_.find(document);
      found != docTojtPartitionsVec_.end()) {
    std::erase(found->second, partition);
    if (found->second.empty()) docTojtPartitionsVec_.erase(found);
  }
  jtPartitionToDoc_.erase(partition);
  docsWithKrSwitch_.erase(document);
  docsWithKrJt_.erase(document);
}

void JtwManager::removeJtPartitionsOfDoc(JtPartition* partition) {
  ApiDocumentRef document;
  if (!getApiDocumentRef(partition, document)) return;
  if (!docTojtPartitionsVec_.contains(document)) refreshDocTojtPartitionsHash();
  for (JtPartition* registered : partitionsOf(document))
    if (registered) removeJtPartition(registered);
}

void JtwManager::removeAllJtPartition() {
  // One that is listed for several documents is known to belong to the last of them only.
  for (const auto& entry : docTojtPartitionsVec_) {
    docsWithKrSwitch_.erase(entry.first);
    docsWithKrJt_.erase(entry.first);
  }
  docTojtPartitionsVec_.clear();
  jtPartitionToDoc_.clear();
}

void JtwManager::releaseDocument(const ApiDocumentRef& document) {
  while (JtPartition* partition = findJtPartition(document)) {
    removeJtPartition(partition);
    // Registered for another document since, it is still listed here.
    if (findJtPartition(document) != partition) continue;
    const auto found = docTojtPartitionsVec_.find(document);
    std::erase(found->second, partition);
    if (found->second.empty()) docTojtPartitionsVec_.erase(found);
  }
}

void JtwManager::refreshDocTojtPartitionsHash() {
  RWClassicTValOrderedVector<std::pair<ApiDocumentRef, Partitions>> entries(
      docTojtPartitionsVec_.begin(), docTojtPartitionsVec_.end());
  docTojtPartitionsVec_.clear();
  for (auto& [document, partitions] : entries)
    docTojtPartitionsVec_.insert_or_assign(document, std::move(partitions));
}

void JtwManager::closeJtFile(const ApiDocumentRef& document) {
  for (JtPartition* partition : partitionsOf(document))
    if (partition) partition->close();
}

void JtwManager::closeAllJtFiles() {
  constexpr int kMostWaits = 1000;
  constexpr unsigned kWaitMs = 10;
  int waits = 0;
  for (; JtResidencyRequestManager::instance().hasPendingRequests() && waits < kMostWaits; ++waits)
    ApiClock::sleepMs(kWaitMs);
  ApiLogLogger::instance()->addLogCall(
      "Infrastructure    ", __FILE__, __LINE__, 1,
      "closeAllJtFiles waited " + std::to_string(waits) + " times");
  for (const auto& entry : docTojtPartitionsVec_)
    for (JtPartition* partition : entry.second)
      if (partition) partition->close();
}

int JtwManager::dumpJtwTables() {
  ApiDebugOutput::write("Dumping docTojtPartitionsVec_\n");
  int documentNumber = 0;
  for (const auto& [document, partitions] : the().docTojtPartitionsVec_) {
    RWClassicCString location;
    RWClassicCString name;
    getFileNameFromDocument(document, location, name);
    ApiDebugOutput::write(" " + std::to_string(++documentNumber) + " " + name + " \n");
    int number = 0;
    for (const JtPartition* partition : partitions) {
      char line[64];
      std::snprintf(line, sizeof line, "  %d JtPartition = 0x%016" PRIXPTR "\n", ++number,
                    reinterpret_cast<std::uintptr_t>(partition));
      ApiDebugOutput::write(line);
    }
  }
  return 0;
}
