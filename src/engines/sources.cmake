# Fix engines: the cloud service, OpenAI-compatible endpoints, the connection test and the API key.
list(APPEND TEMBREL_CORE_SOURCES
  engines/TextFixEngine.h
  engines/HttpExchange.h engines/HttpExchange.cpp
  engines/TextChunker.h engines/TextChunker.cpp
  engines/HtmlChunker.h engines/HtmlChunker.cpp
  engines/ChatCompletion.h engines/ChatCompletion.cpp
  engines/CloudEngine.h engines/CloudEngine.cpp
  engines/SpellDictionary.h engines/SpellDictionary.cpp
  engines/OfflineProofreader.h engines/OfflineProofreader.cpp
  engines/OfflineEngine.h engines/OfflineEngine.cpp
  engines/EngineChoice.h engines/EngineChoice.cpp
  engines/LocalModelServers.h engines/LocalModelServers.cpp
  engines/CustomEndpointConfig.h
  engines/CustomOpenAIEngine.h engines/CustomOpenAIEngine.cpp
  engines/ApiKeyStore.h engines/ApiKeyStore.cpp
  engines/ConnectionTester.h engines/ConnectionTester.cpp
  engines/ConnectionTestState.h engines/ConnectionTestState.cpp
)
