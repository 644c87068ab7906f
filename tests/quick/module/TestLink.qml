import ModbusRtu 1.0

// A link to slaves of its own, quick to find a dead station.
Link {
    driver: surroundings.variable("TEST_DRIVER")
    plant: Plant { source: Qt.resolvedUrl("plant.sim") }
    baud: 0
    replyTimeout: 100
    questionInterval: 100
    attempts: 1
}
