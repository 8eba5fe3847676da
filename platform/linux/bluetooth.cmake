# services: bluetooth
