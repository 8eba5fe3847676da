# services: input
