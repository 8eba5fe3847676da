# services: core
