# services: data
