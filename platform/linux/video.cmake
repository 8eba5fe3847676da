# services: video
